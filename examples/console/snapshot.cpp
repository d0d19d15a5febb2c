// A backup as a console drives it: a VSS snapshot of machines on the host, what it holds, and its import on a proxy.
#include <cstdio>
#include <stdexcept>

#include "commands.h"
#include "files.h"
#include "foundation/convert.h"
#include "foundation/format.h"
#include "integrator.h"

namespace {

void show_paths(const char* method, const std::string& of, SAFEARRAY* taken) {
    BSTR* paths = nullptr;
    const ULONG count = taken->rgsabound[0].cElements;
    show(method, text::format("%1: %2 files", of, count));
    check("SafeArrayAccessData", ::SafeArrayAccessData(taken, reinterpret_cast<void**>(&paths)));
    for (ULONG i = 0; i < count; ++i)
        std::printf("    %s\n", text::narrow(win::bstr_view(paths[i])).c_str());
    ::SafeArrayUnaccessData(taken);
    ::SafeArrayDestroy(taken);
}

void show_size(const char* method, const win::unique_bstr& text) {
    show(method, text::format("%1 characters", win::bstr_view(text.get()).size()));
}

void back_up(const win::com_ptr<IKorvaHvVssSnapshot>& snapshot, const std::wstring& machine, const std::wstring& folder) {
    const win::unique_bstr vm = win::make_bstr(machine);
    SAFEARRAY* files = nullptr;
    check("EnumVmFiles", snapshot->EnumVmFiles(vm.get(), &files));
    show_paths("EnumVmFiles", text::narrow(machine), files);
    win::unique_bstr xml;
    check("BuildVmFilesXml", snapshot->BuildVmFilesXml(vm.get(), xml.put()));
    write_file(folder + files_file, win::bstr_view(xml.get()));
    // Here a real console reads the files.
    check("SetVmBackupStatus", snapshot->SetVmBackupStatus(vm.get(), VARIANT_TRUE));
    show("SetVmBackupStatus", text::format("%1: OK", machine));
}

}  // namespace

void run_snapshot(const options_t& options) {
    if (options.arguments.size() < 2)
        throw std::invalid_argument("snapshot needs a specification and a folder; see --help.");
    const std::wstring specification = argument_text(options.arguments[0]);
    const std::wstring& folder = options.arguments[1];
    const auto integrator = connect_integrator(options);
    win::com_ptr<IKorvaHvOnhostVss> onhost;
    check("OnhostVss", integrator->get_OnhostVss(onhost.put()));

    win::com_ptr<IKorvaHvAsyncOp> operation;
    check("BeginSnapshotCreationEx",
          onhost->BeginSnapshotCreationEx(win::make_bstr(specification).get(), win::make_bstr(L"Nightly backup").get(),
                                          win::make_bstr(L"korva-console").get(), operation.put()));
    show("BeginSnapshotCreationEx", text::format("operation %1", id_of(operation)));
    wait_for(operation);

    // Of an operation that failed the host says here what it was.
    win::com_ptr<IKorvaHvVssSnapshot> snapshot;
    check("GetSnapshotByOpID", onhost->GetSnapshotByOpID(id_of(operation), snapshot.put()));
    GUID id{};
    check("SnapshotID", snapshot->get_SnapshotID(&id));
    show("GetSnapshotByOpID", text::format("snapshot %1", id));

    win::unique_bstr backup, writers, shadows;
    check("BackupDocument", snapshot->get_BackupDocument(backup.put()));
    check("WriterDocument", snapshot->get_WriterDocument(writers.put()));
    check("GetTransportableSnapshotInfo", snapshot->GetTransportableSnapshotInfo(shadows.put()));
    show_size("BackupDocument", backup);
    show_size("WriterDocument", writers);
    write_file(folder + backup_file, win::bstr_view(backup.get()));
    write_file(folder + writers_file, win::bstr_view(writers.get()));
    write_file(folder + shadows_file, win::bstr_view(shadows.get()));

    for (std::size_t i = 2; i < options.arguments.size(); ++i)
        back_up(snapshot, options.arguments[i], folder);

    check("CloseSnapshot", onhost->CloseSnapshot(id));
    show("CloseSnapshot", "ok");
}

void run_import(const options_t& options) {
    if (options.arguments.size() != 1)
        throw std::invalid_argument("import needs the folder that a snapshot was saved to; see --help.");
    const std::wstring& folder = options.arguments[0];
    const win::unique_bstr backup = win::make_bstr(read_file(folder + backup_file));
    const win::unique_bstr shadows = win::make_bstr(read_file(folder + shadows_file));
    const win::unique_bstr files = win::make_bstr(read_file(folder + files_file));

    const auto integrator = connect_integrator(options);
    win::com_ptr<IKorvaHvOffhostVss> offhost;
    check("OffhostVss", integrator->get_OffhostVss(offhost.put()));

    win::com_ptr<IKorvaHvAsyncOp> operation;
    check("BeginSnapshotImportEx",
          offhost->BeginSnapshotImportEx(backup.get(), shadows.get(), win::make_bstr(L"Nightly backup").get(),
                                         win::make_bstr(L"korva-console").get(), operation.put()));
    show("BeginSnapshotImportEx", text::format("operation %1", id_of(operation)));
    wait_for(operation);

    GUID id{};
    check("GetSnapshotIDByOperationID", offhost->GetSnapshotIDByOperationID(id_of(operation), &id));
    show("GetSnapshotIDByOperationID", text::format("snapshot %1", id));
    SAFEARRAY* paths = nullptr;
    check("ConvertOffhostPaths", offhost->ConvertOffhostPaths(id, files.get(), &paths));
    show_paths("ConvertOffhostPaths", "on the proxy", paths);
    check("CloseSnapshot", offhost->CloseSnapshot(id));
    show("CloseSnapshot", "ok");
}
