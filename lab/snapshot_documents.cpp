#include "lab/snapshot_documents.h"

#include <algorithm>
#include <cwctype>
#include <map>

#include "foundation/errors.h"
#include "foundation/format.h"
#include "foundation/numbers.h"
#include "foundation/xml/document.h"
#include "foundation/xml/items_list.h"
#include "lab/xml_text.h"

namespace lab {
namespace {

constexpr wchar_t shadow_prefix[] = LR"(\\?\GLOBALROOT\Device\HarddiskVolumeShadowCopy)";

std::optional<std::wstring> attribute(const xml::xml_element_ptr& element, std::wstring_view name) {
    try {
        return xml::get_attribute(element, name);
    } catch (const exc::com_exc_t&) {
        return std::nullopt;
    }
}

std::wstring id_text(const GUID& id) { return text::widen(text::guid_text(id)); }

bool has_drive(std::wstring_view path) { return path.size() > 2 && path[1] == L':' && path[2] == L'\\'; }

// A path of the host, "C:\vm\a.vhd", inside a shadow copy.
std::wstring in_shadow(const std::wstring& device, const std::wstring& path) {
    if (!has_drive(path))
        throw exc::runtime_exc_t(text::format("'%1' is no full path of a file.", path));
    return device + path.substr(2);
}

// A path of the host, or inside its shadow copy, inside the shadow copy that a proxy has imported.
std::wstring in_imported(const snapshot_t& snapshot, const std::wstring& path) {
    const imported_t& imported = *snapshot.imported;
    if (path.find(L"\\..") == std::wstring::npos) {
        if (path.starts_with(imported.source_device + L'\\'))
            return snapshot.device + path.substr(imported.source_device.size());
        if (has_drive(path) &&
            std::ranges::count(imported.volumes, static_cast<wchar_t>(std::towupper(path[0])) + path.substr(1, 2)))
            return in_shadow(snapshot.device, path);
    }
    throw exc::runtime_exc_t(text::format("'%1' is not in the snapshot '%2'.", path, snapshot.id));
}

std::wstring item_text(const xml::file_item_t& item) {
    return L"<Item" + attribute_text(L"Path", item.path) + attribute_text(L"Mask", item.mask) +
           attribute_text(L"Recursive", item.recursive ? L"true" : L"false") +
           attribute_text(L"RelativePath", item.relative_path) + attribute_text(L"FullPath", item.full_path) + L"/>";
}

// The volumes of a snapshot ("C:\"), each with the identifier of its shadow copy: that of the snapshot with the drive's letter
// as its last byte.
std::map<std::wstring, GUID> shadows_of(const snapshot_t& snapshot) {
    std::map<std::wstring, GUID> shadows;
    for (const machine_t& machine : snapshot.machines) {
        for (const std::wstring& file : machine.files) {
            GUID& id = shadows[file.substr(0, 3)] = snapshot.id;
            id.Data4[7] = static_cast<unsigned char>(file.front());
        }
    }
    return shadows;
}

// The last element of a backup document: a sum over all that stands before it (FNV-1a), by which a proxy that shares nothing
// with the host tells an exported document from a changed one.
std::wstring check_element(std::wstring_view before) {
    std::uint64_t sum = 0xcbf29ce484222325;
    for (const wchar_t c : before)
        sum = (sum ^ c) * 0x100000001b3;
    return L"<Check" + attribute_text(L"Sum", std::to_wstring(sum)) + L"/>";
}

void verify(const std::wstring& backup_document) {
    const std::wstring before = backup_document.substr(0, backup_document.rfind(L"<Check"));
    if (!before.starts_with(L"<BackupComponents ") ||
        backup_document != before + check_element(before) + L"</BackupComponents>")
        throw exc::runtime_exc_t("This is no backup document as a host has exported it.");
}

}  // namespace

snapshot_specification_t read_specification(const std::wstring& xml_text) {
    const com_apartment com;
    const xml::xml_node_ptr document = xml::document_to_node(xml::load_document(xml_text, false));
    const xml::xml_element_ptr root = xml::get_child_by_tag(document, L"Snapshot");
    snapshot_specification_t specification;
    if (const auto polls = attribute(root, L"Polls"))
        specification.polls = text::read_number("Polls", *polls, 0, 1'000'000);
    specification.failure = attribute(root, L"Fail");
    std::vector<xml::xml_element_ptr> machines;
    xml::find_children_by_tag(xml::element_to_node(root), L"VM", xml::all_children, machines);
    for (const xml::xml_element_ptr& machine : machines)
        specification.machines.push_back(xml::get_attribute(machine, L"ID"));
    return specification;
}

std::wstring shadow_device(unsigned number) { return shadow_prefix + std::to_wstring(number); }

const machine_t& machine_of(const snapshot_t& snapshot, const std::wstring& vm) {
    const auto found = std::ranges::find(snapshot.machines, vm, &machine_t::id);
    if (found == snapshot.machines.end())
        throw exc::runtime_exc_t(text::format("There is no virtual machine '%1' in the snapshot '%2'.", vm, snapshot.id));
    return *found;
}

std::wstring backup_document(const snapshot_t& snapshot) {
    std::wstring xml = L"<BackupComponents" + attribute_text(L"SnapshotID", snapshot.id) +
                       attribute_text(L"Job", snapshot.job) + attribute_text(L"Console", snapshot.console) +
                       attribute_text(L"Device", snapshot.device) + L">";
    for (const auto& [volume, id] : shadows_of(snapshot))
        xml += L"<Shadow" + attribute_text(L"ID", id) + attribute_text(L"Volume", volume) + L"/>";
    for (const machine_t& machine : snapshot.machines)
        xml += L"<Machine" + attribute_text(L"ID", machine.id) + attribute_text(L"Name", machine.name) + L"/>";
    return xml + check_element(xml) + L"</BackupComponents>";
}

std::wstring writer_document(const std::vector<machine_t>& machines) {
    std::wstring xml = L"<WriterMetadata Writer=\"Hyper-V VSS Writer\">";
    for (const machine_t& machine : machines) {
        xml += L"<Component" + attribute_text(L"ID", machine.id) + attribute_text(L"Name", machine.name) + L">";
        for (const std::wstring& file : machine.files)
            xml += L"<File" + attribute_text(L"Path", file) + L"/>";
        xml += L"</Component>";
    }
    return xml + L"</WriterMetadata>";
}

std::wstring transportable_info(const snapshot_t& snapshot) {
    std::wstring list;
    for (const auto& [volume, id] : shadows_of(snapshot))
        list += (list.empty() ? L"" : L";") + id_text(id);
    return list;
}

imported_t read_import(const std::wstring& backup_document, const std::wstring& shadow_ids) {
    verify(backup_document);
    const com_apartment com;
    const auto root =
        xml::get_child_by_tag(xml::document_to_node(xml::load_document(backup_document, false)), L"BackupComponents");
    std::vector<xml::xml_element_ptr> shadows;
    xml::find_children_by_tag(xml::element_to_node(root), L"Shadow", xml::all_children, shadows);

    imported_t imported{.source_device = xml::get_attribute(root, L"Device"), .shadows = {}, .volumes = {}};
    for (std::size_t start = 0; start <= shadow_ids.size();) {
        const std::size_t end = std::min(shadow_ids.find(L';', start), shadow_ids.size());
        const std::wstring id = shadow_ids.substr(start, end - start);
        const auto shadow =
            std::ranges::find(shadows, id, [](const xml::xml_element_ptr& known) { return xml::get_attribute(known, L"ID"); });
        if (shadow == shadows.end())
            throw exc::runtime_exc_t(text::format("The backup document knows no shadow copy '%1'.", id));
        imported.shadows.push_back(id);
        imported.volumes.push_back(xml::get_attribute(*shadow, L"Volume"));
        start = end + 1;
    }
    return imported;
}

std::wstring files_list(const snapshot_t& snapshot, const std::wstring& vm) {
    std::wstring xml = L"<FilesList>";
    for (const std::wstring& file : machine_of(snapshot, vm).files) {
        const std::size_t name = file.rfind(L'\\') + 1;
        xml += item_text({.path = file.substr(0, name),
                          .mask = file.substr(name),
                          .recursive = false,
                          .relative_path = file.substr(name),
                          .full_path = in_shadow(snapshot.device, file)});
    }
    return xml + L"</FilesList>";
}

std::wstring converted_list(const snapshot_t& snapshot, const std::wstring& paths_xml) {
    const com_apartment com;
    xml::file_items_t items;
    xml::parse_items_list(paths_xml, items);
    std::wstring xml = L"<FilesList>";
    for (xml::file_item_t& item : items) {
        item.full_path = in_imported(snapshot, item.full_path);
        xml += item_text(item);
    }
    return xml + L"</FilesList>";
}

}  // namespace lab
