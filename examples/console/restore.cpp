// A machine's restore as a console drives it, from what the snapshot command saved.
#include <cstdio>
#include <stdexcept>

#include "commands.h"
#include "files.h"
#include "foundation/convert.h"
#include "foundation/format.h"
#include "foundation/xml/document.h"
#include "integrator.h"

namespace {

// The host's session, closed on every way out.
class restore_session {
public:
    explicit restore_session(const win::com_ptr<IKorvaHvRestoreMngr>& manager) : manager_(manager) {
        check("CreateSession", manager_->CreateSession(&id_));
        show("CreateSession", text::format("session %1", id_));
    }
    restore_session(const restore_session&) = delete;
    restore_session& operator=(const restore_session&) = delete;
    ~restore_session() { show("CloseSession", SUCCEEDED(manager_->CloseSession(id_)) ? "ok" : "failed"); }

    const GUID& id() const { return id_; }

private:
    win::com_ptr<IKorvaHvRestoreMngr> manager_;
    GUID id_{};
};

void show_restore_paths(const win::unique_bstr& paths_xml) {
    const auto document = xml::document_to_node(xml::load_document(win::bstr_view(paths_xml.get()), false));
    std::vector<xml::xml_element_ptr> files;
    xml::find_children_by_tag(xml::element_to_node(xml::get_child_by_tag(document, L"RestorePaths")), L"File",
                              xml::all_children, files);
    show("GetRestorePathsXml", text::format("%1 files", files.size()));
    for (const xml::xml_element_ptr& file : files) {
        const std::string line =
            text::format("    %1 -> %2", xml::get_attribute(file, L"Source"), xml::get_attribute(file, L"Target"));
        std::puts(line.c_str());
    }
}

}  // namespace

void run_restore(const options_t& options) {
    if (options.arguments.size() < 2 || options.arguments.size() > 3)
        throw std::invalid_argument("restore needs the folder that a snapshot was saved to and a machine; see --help.");
    const std::wstring& folder = options.arguments[0];
    const std::wstring& machine = options.arguments[1];
    const std::wstring destination = options.arguments.size() > 2 ? options.arguments[2] : L"";

    const auto integrator = connect_integrator(options);
    win::com_ptr<IKorvaHvRestoreMngr> manager;
    check("RestoreMngr", integrator->get_RestoreMngr(manager.put()));
    const restore_session session(manager);
    check("ImportConfig", manager->ImportConfig(session.id(), win::make_bstr(read_file(folder + backup_file)).get(),
                                                win::make_bstr(read_file(folder + writers_file)).get()));
    show("ImportConfig", "ok");
    check("PreRestore",
          manager->PreRestore(session.id(), win::make_bstr(machine).get(), win::make_bstr(read_file(folder + files_file)).get(),
                              win::make_bstr(destination).get()));
    show("PreRestore", text::format("%1, %2", machine, destination.empty() ? L"to where it was" : L"to " + destination));

    win::unique_bstr paths;
    check("GetRestorePathsXml", manager->GetRestorePathsXml(session.id(), paths.put()));
    show_restore_paths(paths);
    // Here a real console writes the files.
    check("SetRestoreStatus", manager->SetRestoreStatus(session.id(), VARIANT_TRUE));
    show("SetRestoreStatus", "succeeded");
    check("PostRestore", manager->PostRestore(session.id()));
    show("PostRestore", "ok");
}
