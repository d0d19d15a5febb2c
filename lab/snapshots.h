#pragma once

#include <windows.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "lab/machine.h"

namespace lab {

// What "HvGetAsyncOpStatus" tells of an operation.
struct operation_status_t {
    bool completed = false;
    bool succeeded = false;
    std::wstring error;
};

// What a proxy knows of a snapshot that it has imported.
struct imported_t {
    std::wstring source_device;         // its shadow copy on the host
    std::vector<std::wstring> shadows;  // identifiers of the shadow copies
    std::vector<std::wstring> volumes;  // "C:\", one for each of them
};

// A finished snapshot: on the host that took it or, imported, on a proxy.
struct snapshot_t {
    GUID id{};
    std::optional<imported_t> imported;
    bool open = true;
    std::wstring device;  // its shadow copy
    std::wstring job, console;
    std::vector<machine_t> machines;       // none where imported: the proxy knows paths only
    std::map<std::wstring, bool> reports;  // backup status by machine
};

// The snapshots of a host and, as if it were another machine, of a proxy. Every method throws exc::runtime_exc_t with the
// host's text where it is called out of order or with what the host does not know.
//
// A snapshot is asked for by a specification, of which every part but the root element may be left out:
//
//   <Snapshot Polls="3" Fail="The writer timed out.">      done at the third refresh (0: at once); failed then, with this text
//     <VM ID="6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d01"/>      these machines; all of them where none is named
//   </Snapshot>
class snapshots_t {
public:
    // How work that starts from now on goes, unless its specification says otherwise. An import has none.
    unsigned polls = 2;
    std::wstring failure;
    // Hostile answers: null strings for documents; any text for every list of files, null where it is empty.
    bool null_documents = false;
    std::optional<std::wstring> files_list_answer;

    GUID begin_creation(const std::vector<machine_t>& machines, const std::wstring& specification, const std::wstring& job,
                        const std::wstring& console);
    GUID begin_import(const std::wstring& backup_document, const std::wstring& shadow_ids, const std::wstring& job,
                      const std::wstring& console);

    // One poll of the work.
    operation_status_t refresh(const GUID& operation);
    GUID snapshot_of(const GUID& operation);
    void close(const GUID& snapshot);

    const snapshot_t& on_host(const GUID& snapshot);
    const snapshot_t& on_proxy(const GUID& snapshot);
    void report_backup(const GUID& snapshot, const std::wstring& vm, bool ok);

private:
    struct operation_t {
        GUID id{};
        unsigned polls_left = 0;
        std::wstring failure;
        snapshot_t result;
    };

    GUID begin(operation_t operation);
    void complete(operation_t& operation);
    void check_not_imported(const imported_t& wanted) const;
    operation_t& operation(const GUID& id);
    snapshot_t& open_snapshot(const GUID& id);

    std::vector<operation_t> operations_;
    std::vector<snapshot_t> snapshots_;
    unsigned devices_ = 0;
};

}  // namespace lab
