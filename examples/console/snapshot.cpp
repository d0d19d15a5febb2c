// A backup as a console drives it: a VSS snapshot of machines on the host, what it holds, and its import on a proxy.
#include "commands.h"
#include "files.h"
#include "foundation/errors.h"
#include "integrator.h"
#include "output.h"
#include "steps.h"

namespace {

constexpr wchar_t job[] = L"Nightly backup", console[] = L"korva-console";

void show_files(const char* method, const std::wstring& machine, const win::unique_safe_array& files) {
    const auto* const paths = static_cast<const BSTR*>(files.get()->pvData);
    const ULONG count = files.get()->rgsabound[0].cElements;
    show(method, text::format("%1: %2 files", machine, count), {{"Machine", machine}, {"Files", count}});
    for (ULONG i = 0; i < count; ++i)
        show_item("File", text::narrow(win::bstr_view(paths[i])), {{"Path", win::bstr_view(paths[i])}});
}

void save(const char* method, const win::unique_bstr& document, const std::wstring& path) {
    const std::wstring_view text = win::bstr_view(document.get());
    show(method, text::format("%1 characters", text.size()), {{"Characters", text.size()}, {"SavedAs", path}});
    write_file(path, text);
}

using snapshot_ptr = win::com_ptr<IKorvaHvVssSnapshot>;

void save_documents(const snapshot_ptr& snapshot, const saved_snapshot_t& saved) {
    win::unique_bstr backup, writers, shadows;
    check("BackupDocument", snapshot->get_BackupDocument(backup.put()));
    save("BackupDocument", backup, saved.backup_document());
    check("WriterDocument", snapshot->get_WriterDocument(writers.put()));
    save("WriterDocument", writers, saved.writer_document());
    check("GetTransportableSnapshotInfo", snapshot->GetTransportableSnapshotInfo(shadows.put()));
    save("GetTransportableSnapshotInfo", shadows, saved.transportable_info());
}

// Those of the command line, else those of the backup document, as far as its layout is known here.
std::vector<std::wstring> machines_of(const snapshot_ptr& snapshot, const options_t& options) {
    if (options.arguments.size() > 2)
        return {options.arguments.begin() + 2, options.arguments.end()};
    win::unique_bstr backup;
    check("BackupDocument", snapshot->get_BackupDocument(backup.put()));
    std::vector<std::wstring> machines;
    for (const xml::xml_element_ptr& machine : elements_of(backup, L"BackupComponents", L"Machine"))
        machines.push_back(xml::get_attribute(machine, L"ID"));
    if (machines.empty())
        throw exc::runtime_exc_t("The backup document does not tell the machines: name them behind the folder.");
    return machines;
}

void read_files(const snapshot_ptr& snapshot, const std::wstring& machine, const saved_snapshot_t& saved) {
    const win::unique_bstr vm = win::make_bstr(machine);
    win::unique_safe_array files;
    check("EnumVmFiles", snapshot->EnumVmFiles(vm.get(), files.put()));
    show_files("EnumVmFiles", machine, files);
    win::unique_bstr xml;
    check("BuildVmFilesXml", snapshot->BuildVmFilesXml(vm.get(), xml.put()));
    write_file(saved.files_of(machine), win::bstr_view(xml.get()));
    // Here a real console reads the files.
    stop_if_asked();
}

void report(const snapshot_ptr& snapshot, const std::wstring& machine, bool well) {
    check("SetVmBackupStatus", snapshot->SetVmBackupStatus(win::make_bstr(machine).get(), well ? VARIANT_TRUE : VARIANT_FALSE));
    show("SetVmBackupStatus", text::format("%1: %2", machine, well ? "OK" : "Fail"), {{"Machine", machine}, {"OK", well}});
}

// The host's writers wait for the outcome of every machine: those that were not read count as failed.
void back_up(const snapshot_ptr& snapshot, const std::vector<std::wstring>& machines, const saved_snapshot_t& saved) {
    auto next = machines.begin();
    run_and_end(
        [&] {
            save_documents(snapshot, saved);
            stop_if_asked();
            for (; next != machines.end(); ++next) {
                read_files(snapshot, *next, saved);
                report(snapshot, *next, true);
            }
        },
        [&](bool) {
            for (; next != machines.end(); ++next)
                attempt([&] { report(snapshot, *next, false); });
        });
}

// What the operation has made. Asked for before anything else: a snapshot that cannot be read here must be closed, too.
GUID made_by(const GUID& operation, const win::com_ptr<IKorvaHvOffhostVss>& offhost) {
    GUID id{};
    check("GetSnapshotIDByOperationID", offhost->GetSnapshotIDByOperationID(operation, &id));
    show("GetSnapshotIDByOperationID", text::format("snapshot %1", id), {{"Snapshot", id}});
    return id;
}

void show_begun(const char* method, const win::com_ptr<IKorvaHvAsyncOp>& operation) {
    show(method, text::format("operation %1", id_of(operation)), {{"Operation", id_of(operation)}});
}

// The on-host and the off-host object close alike.
template <class Vss>
void close(const win::com_ptr<Vss>& vss, const GUID& snapshot) {
    check("CloseSnapshot", vss->CloseSnapshot(snapshot));
    show("CloseSnapshot", "ok", {{"Snapshot", snapshot}});
}

}  // namespace

void run_snapshot(const options_t& options) {
    const std::wstring specification = argument_text(options.argument(0));
    const saved_snapshot_t saved(options.argument(1));
    for (std::size_t i = 2; i < options.arguments.size(); ++i)
        saved.files_of(options.argument(i));  // an ID that cannot be one is told before anything is done
    saved.clear();
    const auto integrator = connect_integrator(options);
    win::com_ptr<IKorvaHvOnhostVss> onhost;
    win::com_ptr<IKorvaHvOffhostVss> offhost;
    check("OnhostVss", integrator->get_OnhostVss(onhost.put()));
    check("OffhostVss", integrator->get_OffhostVss(offhost.put()));

    win::com_ptr<IKorvaHvAsyncOp> operation;
    check("BeginSnapshotCreationEx",
          onhost->BeginSnapshotCreationEx(win::make_bstr(specification).get(), win::make_bstr(job).get(),
                                          win::make_bstr(console).get(), operation.put()));
    show_begun("BeginSnapshotCreationEx", operation);
    wait_for(operation, options);

    const GUID id = made_by(id_of(operation), offhost);
    run_and_end(
        [&] {
            stop_if_asked();
            snapshot_ptr snapshot;
            check("GetSnapshotByOpID", onhost->GetSnapshotByOpID(id_of(operation), snapshot.put()));
            show("GetSnapshotByOpID", "its documents");
            back_up(snapshot, machines_of(snapshot, options), saved);
        },
        [&](bool well) {
            if (!well)
                attempt([&] { saved.clear(); });
            close(onhost, id);
        });
}

void run_import(const options_t& options) {
    const saved_snapshot_t saved(options.argument(0));
    const win::unique_bstr backup = win::make_bstr(read_file(saved.backup_document()));
    const win::unique_bstr shadows = win::make_bstr(read_file(saved.transportable_info()));

    const auto integrator = connect_integrator(options);
    win::com_ptr<IKorvaHvOffhostVss> offhost;
    check("OffhostVss", integrator->get_OffhostVss(offhost.put()));
    win::com_ptr<IKorvaHvAsyncOp> operation;
    check("BeginSnapshotImportEx", offhost->BeginSnapshotImportEx(backup.get(), shadows.get(), win::make_bstr(job).get(),
                                                                  win::make_bstr(console).get(), operation.put()));
    show_begun("BeginSnapshotImportEx", operation);
    wait_for(operation, options);

    const GUID id = made_by(id_of(operation), offhost);
    run_and_end(
        [&] {
            for (const std::wstring& machine : saved.machines()) {
                stop_if_asked();
                win::unique_safe_array files;
                const win::unique_bstr list = win::make_bstr(read_file(saved.files_of(machine)));
                check("ConvertOffhostPaths", offhost->ConvertOffhostPaths(id, list.get(), files.put()));
                show_files("ConvertOffhostPaths", machine, files);
            }
        },
        [&](bool) { close(offhost, id); });
}

void run_close(const options_t& options) {
    GUID operation{};
    if (FAILED(::IIDFromString((L"{" + options.argument(0) + L"}").c_str(), &operation)))
        throw usage_error(text::format("'%1' is no operation's ID.", options.argument(0)));
    const auto integrator = connect_integrator(options);
    win::com_ptr<IKorvaHvOffhostVss> offhost;
    check("OffhostVss", integrator->get_OffhostVss(offhost.put()));
    close(offhost, made_by(operation, offhost));
}
