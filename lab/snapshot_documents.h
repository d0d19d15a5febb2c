#pragma once

#include <optional>
#include <string>
#include <vector>

#include "lab/snapshots.h"

// The XML that goes with the lab's snapshots. Only a host reads what a host writes: the layouts are the lab's own, but for the
// lists of files.
namespace lab {

struct snapshot_specification_t {
    std::optional<unsigned> polls;
    std::optional<std::wstring> failure;
    std::vector<std::wstring> machines;
};

// Throws exc::runtime_exc_t (or what the XML functions throw) where the text is no specification (snapshots.h).
snapshot_specification_t read_specification(const std::wstring& xml);

std::wstring shadow_device(unsigned number);

// Throws exc::runtime_exc_t: "There is no virtual machine '%1' in the snapshot '%2'."
const machine_t& machine_of(const snapshot_t& snapshot, const std::wstring& vm);

std::wstring backup_document(const snapshot_t& snapshot);
// The Hyper-V writer's: the machines with their files.
std::wstring writer_document(const std::vector<machine_t>& machines);
// One identifier for each volume that holds a machine's file, separated by ";".
std::wstring transportable_info(const snapshot_t& snapshot);

// What a proxy takes from the backup document of a snapshot and the list of its shadow copies. Throws exc::runtime_exc_t (or
// what the XML functions throw) where the document is not to the letter what backup_document() wrote, or knows no such copy.
imported_t read_import(const std::wstring& backup_document, const std::wstring& shadow_ids);

// "FilesList" of a machine's files inside the snapshot.
std::wstring files_list(const snapshot_t& snapshot, const std::wstring& vm);
// The items of the host's "FilesList", each with its path inside this imported snapshot. Throws exc::runtime_exc_t for a path
// that lies on none of the volumes that were imported.
std::wstring converted_list(const snapshot_t& snapshot, const std::wstring& paths_xml);

}  // namespace lab
