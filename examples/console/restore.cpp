// A machine's restore as a console drives it, from what the snapshot command saved.
#include "commands.h"
#include "files.h"
#include "integrator.h"
#include "output.h"
#include "steps.h"

namespace {

void show_restore_paths(const win::unique_bstr& paths_xml) {
    const auto files = elements_of(paths_xml, L"RestorePaths", L"File");
    show("GetRestorePathsXml", text::format("%1 files", files.size()),
         {{"Files", files.size()}, {"Answer", win::bstr_view(paths_xml.get())}});
    for (const xml::xml_element_ptr& file : files) {
        const std::wstring source = xml::get_attribute(file, L"Source"), target = xml::get_attribute(file, L"Target");
        show_item("File", text::format("%1 -> %2", source, target), {{"Source", source}, {"Target", target}});
    }
}

// Between PreRestore and PostRestore the host's writer waits for the outcome: it is told whatever happens.
void restore_files(const win::com_ptr<IKorvaHvRestoreMngr>& manager, const GUID& session) {
    run_and_end(
        [&] {
            stop_if_asked();
            win::unique_bstr paths;
            check("GetRestorePathsXml", manager->GetRestorePathsXml(session, paths.put()));
            show_restore_paths(paths);
            // Here a real console writes the files.
            stop_if_asked();
        },
        [&](bool well) {
            check("SetRestoreStatus", manager->SetRestoreStatus(session, well ? VARIANT_TRUE : VARIANT_FALSE));
            show("SetRestoreStatus", well ? "succeeded" : "failed", {{"Succeeded", well}});
            check("PostRestore", manager->PostRestore(session));
            show("PostRestore", "ok");
        });
}

}  // namespace

void run_restore(const options_t& options) {
    const saved_snapshot_t saved(options.argument(0));
    const std::wstring machine = options.argument(1), destination = options.argument(2);
    const win::unique_bstr backup = win::make_bstr(read_file(saved.backup_document()));
    const win::unique_bstr writers = win::make_bstr(read_file(saved.writer_document()));
    const win::unique_bstr files = win::make_bstr(read_file(saved.files_of(machine)));

    const auto integrator = connect_integrator(options);
    win::com_ptr<IKorvaHvRestoreMngr> manager;
    check("RestoreMngr", integrator->get_RestoreMngr(manager.put()));
    GUID session{};
    check("CreateSession", manager->CreateSession(&session));
    show("CreateSession", text::format("session %1", session), {{"Session", session}});
    run_and_end(
        [&] {
            check("ImportConfig", manager->ImportConfig(session, backup.get(), writers.get()));
            show("ImportConfig", "ok");
            stop_if_asked();
            check("PreRestore",
                  manager->PreRestore(session, win::make_bstr(machine).get(), files.get(), win::make_bstr(destination).get()));
            show("PreRestore", text::format("%1, %2", machine, destination.empty() ? L"to where it was" : L"to " + destination),
                 {{"Machine", machine}, {"Destination", destination}});
            restore_files(manager, session);
        },
        [&](bool) {
            check("CloseSession", manager->CloseSession(session));
            show("CloseSession", "ok");
        });
}
