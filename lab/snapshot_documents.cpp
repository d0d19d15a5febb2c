#include "lab/snapshot_documents.h"

#include <algorithm>
#include <set>

#include "foundation/errors.h"
#include "foundation/format.h"
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

unsigned number_of(const std::wstring& text) {
    if (text.empty() || text.size() > 6 || text.find_first_not_of(L"0123456789") != std::wstring::npos)
        throw exc::runtime_exc_t(text::format("'%1' is no number of polls.", text));
    return std::max(1u, static_cast<unsigned>(std::stoul(text)));
}

std::wstring id_text(const GUID& id) { return text::widen(text::guid_text(id)); }

// A path of the host ("C:\vm\a.vhd") or inside any shadow copy, as a path inside this one.
std::wstring in_shadow(const std::wstring& device, const std::wstring& path) {
    if (path.starts_with(shadow_prefix)) {
        if (const std::size_t end = path.find(L'\\', std::size(shadow_prefix) - 1); end != std::wstring::npos)
            return device + path.substr(end);
    } else if (path.size() > 2 && path[1] == L':' && path[2] == L'\\') {
        return device + path.substr(2);
    }
    throw exc::runtime_exc_t(text::format("'%1' is no full path of a file.", path));
}

std::wstring item_text(const xml::file_item_t& item) {
    return L"<Item" + attribute_text(L"Path", item.path) + attribute_text(L"Mask", item.mask) +
           attribute_text(L"Recursive", item.recursive ? L"true" : L"false") +
           attribute_text(L"RelativePath", item.relative_path) + attribute_text(L"FullPath", item.full_path) + L"/>";
}

// The volumes of a snapshot by their drive letters, each with the identifier of its shadow copy: that of the snapshot with
// the letter as its last byte.
std::vector<GUID> shadow_ids(const snapshot_t& snapshot) {
    std::set<wchar_t> drives;
    for (const machine_t& machine : snapshot.machines)
        for (const std::wstring& file : machine.files)
            drives.insert(file.front());
    std::vector<GUID> ids;
    for (const wchar_t drive : drives) {
        ids.push_back(snapshot.id);
        ids.back().Data4[7] = static_cast<unsigned char>(drive);
    }
    return ids;
}

}  // namespace

snapshot_specification_t read_specification(const std::wstring& xml_text) {
    const com_apartment com;
    const xml::xml_node_ptr document = xml::document_to_node(xml::load_document(xml_text, false));
    const xml::xml_element_ptr root = xml::get_child_by_tag(document, L"Snapshot");
    snapshot_specification_t specification;
    if (const auto polls = attribute(root, L"Polls"))
        specification.polls = number_of(*polls);
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
                       attribute_text(L"Job", snapshot.job) + attribute_text(L"Console", snapshot.console) + L">";
    for (const GUID& id : shadow_ids(snapshot))
        xml += L"<Shadow" + attribute_text(L"ID", id) + L"/>";
    for (const machine_t& machine : snapshot.machines)
        xml += L"<Machine" + attribute_text(L"ID", machine.id) + attribute_text(L"Name", machine.name) + L"/>";
    return xml + L"</BackupComponents>";
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
    for (const GUID& id : shadow_ids(snapshot))
        list += (list.empty() ? L"" : L";") + id_text(id);
    return list;
}

void check_import(const std::wstring& backup_document, const std::wstring& shadow_ids) {
    if (!backup_document.starts_with(L"<BackupComponents"))
        throw exc::runtime_exc_t("This is no backup document.");
    if (shadow_ids.empty())
        throw exc::runtime_exc_t("There is nothing to import: the list of snapshot identifiers is empty.");
    for (std::size_t start = 0; start <= shadow_ids.size();) {
        const std::size_t end = std::min(shadow_ids.find(L';', start), shadow_ids.size());
        const std::wstring id = shadow_ids.substr(start, end - start);
        if (backup_document.find(L"<Shadow" + attribute_text(L"ID", id)) == std::wstring::npos)
            throw exc::runtime_exc_t(text::format("The backup document knows no shadow copy '%1'.", id));
        start = end + 1;
    }
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
        item.full_path = in_shadow(snapshot.device, item.full_path);
        xml += item_text(item);
    }
    return xml + L"</FilesList>";
}

}  // namespace lab
