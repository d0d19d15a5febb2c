#include "lab/restore_sessions.h"

#include <algorithm>

#include "foundation/errors.h"
#include "foundation/format.h"
#include "foundation/xml/document.h"
#include "foundation/xml/items_list.h"
#include "lab/serve.h"
#include "lab/xml_text.h"

namespace lab {
namespace {

const char* name_of(restore_stage_t stage) {
    switch (stage) {
        case restore_stage_t::created:
            return "created";
        case restore_stage_t::imported:
            return "configured";
        case restore_stage_t::prepared:
            return "prepared";
        case restore_stage_t::reported:
            return "reported";
        case restore_stage_t::finished:
            break;
    }
    return "finished";
}

xml::file_items_t read_items(const std::wstring& files_xml) {
    const com_apartment com;
    xml::file_items_t items;
    xml::parse_items_list(files_xml, items);
    return items;
}

}  // namespace

GUID restore_sessions_t::create() {
    sessions_.emplace_back().id = new_guid();
    return sessions_.back().id;
}

void restore_sessions_t::import_config(const GUID& id, const std::wstring& backup_document,
                                       const std::wstring& writer_document) {
    if (backup_document.empty() || writer_document.empty())
        throw exc::runtime_exc_t("A backup document and a writer document are needed.");
    step(id, restore_stage_t::created, restore_stage_t::imported, "Importing the configuration");
}

void restore_sessions_t::prepare(const GUID& id, const std::wstring& vm, const std::wstring& files_xml,
                                 const std::wstring& destination) {
    read_items(files_xml);  // a list that cannot be read fails here, not when the paths are asked for
    restore_session_t& session = step(id, restore_stage_t::imported, restore_stage_t::prepared, "Pre-restore");
    session.vm = vm;
    session.files_xml = files_xml;
    session.destination = destination;
}

void restore_sessions_t::prepare(const GUID& id, const std::wstring& specification) {
    std::wstring vm, destination;
    {
        const com_apartment com;
        const xml::xml_node_ptr document = xml::document_to_node(xml::load_document(specification, false));
        const xml::xml_element_ptr root = xml::get_child_by_tag(document, L"RestoreSpec");
        vm = xml::get_attribute(root, L"VMID");
        destination = xml::get_attribute(root, L"NewDestPath");
    }
    // What lies between the root's tags, which are there: the text was read as XML.
    const std::size_t start = specification.find(L'>', specification.find(L"<RestoreSpec")) + 1;
    const std::size_t end = specification.rfind(L"</RestoreSpec");
    if (end == std::wstring::npos)
        throw exc::runtime_exc_t("The specification names no files.");
    prepare(id, vm, specification.substr(start, end - start), destination);
}

std::wstring restore_sessions_t::paths_xml(const GUID& id) {
    const restore_session_t& session =
        step(id, restore_stage_t::prepared, restore_stage_t::prepared, "Listing the restore paths");
    std::wstring xml = L"<RestorePaths" + attribute_text(L"VMID", session.vm) + L">";
    for (const xml::file_item_t& item : read_items(session.files_xml)) {
        const std::wstring source = item.path + item.mask;
        xml +=
            L"<File" + attribute_text(L"Source", source) +
            attribute_text(L"Target", session.destination.empty() ? source : session.destination + L'\\' + item.relative_path) +
            L"/>";
    }
    return xml + L"</RestorePaths>";
}

void restore_sessions_t::report(const GUID& id, bool succeeded) {
    step(id, restore_stage_t::prepared, restore_stage_t::reported, "Reporting the restore's outcome").succeeded = succeeded;
}

void restore_sessions_t::finish(const GUID& id) {
    step(id, restore_stage_t::reported, restore_stage_t::finished, "Post-restore");
}

void restore_sessions_t::close(const GUID& id) {
    find(id);
    std::erase_if(sessions_, [&](const restore_session_t& session) { return session.id == id; });
}

restore_session_t& restore_sessions_t::find(const GUID& id) {
    const auto found = std::ranges::find(sessions_, id, &restore_session_t::id);
    if (found == sessions_.end())
        throw exc::runtime_exc_t(text::format("There is no restore session '%1'.", id));
    return *found;
}

restore_session_t& restore_sessions_t::step(const GUID& id, restore_stage_t from, restore_stage_t to, const char* what) {
    restore_session_t& session = find(id);
    if (session.stage != from)
        throw exc::runtime_exc_t(text::format("%1 needs a restore session that is %2; the session '%3' is %4.", what,
                                              name_of(from), id, name_of(session.stage)));
    session.stage = to;
    return session;
}

}  // namespace lab
