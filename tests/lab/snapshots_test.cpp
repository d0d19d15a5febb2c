// The host and the proxy that the lab plays, each a model of its own as in two machines.
#include <gtest/gtest.h>

#include "foundation/errors.h"
#include "foundation/xml/escaped.h"
#include "lab/host_model.h"
#include "lab/snapshot_documents.h"

namespace {

struct LabSnapshots : ::testing::Test {
    LabSnapshots() { host.polls = proxy.polls = 0; }

    // Of the machine "web", whose files are on D:.
    const lab::snapshot_t& taken() {
        return host.on_host(host.snapshot_of(
            host.begin_creation(lab::host_model::default_machines(),
                                L"<Snapshot><VM ID='6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d02'/></Snapshot>", L"<&\"\n>", L"")));
    }
    GUID import(const lab::snapshot_t& snapshot) {
        return proxy.snapshot_of(
            proxy.begin_import(lab::backup_document(snapshot), lab::transportable_info(snapshot), L"", L""));
    }
    lab::snapshots_t host, proxy;
};

TEST_F(LabSnapshots, ImportOnlyWhatAHostHasExported) {
    const lab::snapshot_t& snapshot = taken();
    const std::wstring document = lab::backup_document(snapshot), ids = lab::transportable_info(snapshot);
    std::wstring other_drive = document;
    other_drive.replace(other_drive.find(L"D:\\"), 1, L"C");
    for (const std::wstring& changed : {std::wstring(), document + L" ", document.substr(1), other_drive, std::wstring(L"<A/>"),
                                        std::wstring(L"<BackupComponents SnapshotID=\"\"></BackupComponents>")})
        EXPECT_THROW(proxy.begin_import(changed, ids, L"", L""), exc::exc_base_t);
    for (const std::wstring& changed : {std::wstring(), ids + L";", L"x" + ids})
        EXPECT_THROW(proxy.begin_import(document, changed, L"", L""), exc::exc_base_t);
    EXPECT_NO_THROW(import(snapshot));
}

TEST_F(LabSnapshots, AreImportedOnceAtATime) {
    const lab::snapshot_t& snapshot = taken();
    proxy.polls = 1;
    const GUID running = proxy.begin_import(lab::backup_document(snapshot), lab::transportable_info(snapshot), L"", L"");
    EXPECT_THROW(import(snapshot), exc::exc_base_t) << "while it is being imported";
    EXPECT_TRUE(proxy.refresh(running).succeeded);
    EXPECT_THROW(import(snapshot), exc::exc_base_t);
    proxy.close(proxy.snapshot_of(running));
    proxy.polls = 0;
    EXPECT_NO_THROW(import(snapshot));
}

TEST_F(LabSnapshots, ConvertOnlyPathsInside) {
    const lab::snapshot_t& source = taken();
    const lab::snapshot_t& imported = proxy.on_proxy(import(source));
    const auto convert = [&](const std::wstring& path) {
        const std::wstring text = xml::escaped<wchar_t>(path);
        return lab::converted_list(
            imported, L"<FilesList><Item Path='' Mask='' Recursive='' RelativePath='' FullPath='" + text + L"'/></FilesList>");
    };
    for (const std::wstring& inside : {std::wstring(L"d:\\vm\\a.vhd"), source.device + L"\\vm\\a.vhd"})
        EXPECT_NE(convert(inside).find(imported.device + L"\\vm\\a.vhd"), std::wstring::npos);
    for (const std::wstring& outside : {std::wstring(L"C:\\vm\\a.vhd"), std::wstring(L"D:\\vm\\..\\a.vhd"),
                                        std::wstring(L"D:a"), source.device + L"0\\a.vhd", std::wstring()})
        EXPECT_THROW(convert(outside), exc::exc_base_t);
}

}  // namespace
