#include "tests/hv/remote_method.h"

namespace hv_tests {
namespace {

constexpr wchar_t files_xml[] =
    LR"(<FilesList><Item Path="D:\vm\web\" Mask="system.vhd" Recursive="false" RelativePath="system.vhd" FullPath="\\?\x"/></FilesList>)";

struct restore_t {
    explicit restore_t(const win::com_ptr<IKorvaHvIntegrator>& integrator) {
        EXPECT_EQ(integrator->get_RestoreMngr(manager.put()), S_OK);
    }
    lines_t filled(lines_t lines) const { return fill(std::move(lines), {{"{session}", text::guid_text(session)}}); }

    win::com_ptr<IKorvaHvRestoreMngr> manager;
    GUID session{};
};
using method_t = remote_method_t<restore_t>;

const method_t creating{"CreateSession",
                        "CreateRestoreSession",
                        [](restore_t& restore) {
                            const HRESULT result = restore.manager->CreateSession(&restore.session);
                            EXPECT_EQ(restore.session == GUID{}, FAILED(result));
                            return result;
                        },
                        {"CreateRestoreSession"},
                        {"Creating Hyper-V restore session.", "Session was created. Session ID: '{session}'."},
                        1,
                        {"Failed to create Hyper-V restore session."}};

const method_t importing{"ImportConfig",
                         "HvImportConfig",
                         [](restore_t& restore) {
                             return restore.manager->ImportConfig(restore.session, bstr(L"<B n=\"ü\"/>").get(),
                                                                  bstr(L"<W/>").get());
                         },
                         {R"(HvImportConfig session={session} backup_document="<B n=\"ü\"/>" writer_document="<W/>")"},
                         {"Importing Hyper-V backup configuration.", "Backup configuration was imported."},
                         1,
                         {"Failed to import Hyper-V backup configuration."}};

const method_t preparing{
    "PreRestore",
    "HvPreRestore",
    [](restore_t& restore) {
        return restore.manager->PreRestore(restore.session, bstr(L"web").get(), bstr(files_xml).get(),
                                           bstr(LR"(E:\back)").get());
    },
    {R"(HvPreRestore session={session} vm="web" files_xml="<FilesList><Item Path=\"D:\\vm\\web\\\" Mask=\"system.vhd\" )"
     R"(Recursive=\"false\" RelativePath=\"system.vhd\" FullPath=\"\\\\?\\x\"/></FilesList>" new_path="E:\\back")"},
    {"Performing pre-restore. Session ID: '{session}'. VMID: 'web'.", "Pre-restore completed."},
    1,
    {"Failed to perform pre-restore."}};

const method_t preparing_by_spec{
    "PreRestoreEx",
    "HvPreRestoreEx",
    [](restore_t& restore) {
        return restore.manager->PreRestoreEx(restore.session,
                                             bstr(L"<RestoreSpec VMID='web' NewDestPath=''><FilesList/></RestoreSpec>").get());
    },
    {R"(HvPreRestoreEx session={session} specification="<RestoreSpec VMID='web' NewDestPath=''><FilesList/></RestoreSpec>")"},
    {"Performing pre-restore. Session ID: '{session}'.", "Pre-restore completed."},
    1,
    {"Failed to perform pre-restore."}};

method_t listing_paths(const wchar_t* answer) {
    return {"GetRestorePathsXml",
            "HvGetRestorePaths",
            [answer](restore_t& restore) {
                win::unique_bstr paths;
                const HRESULT result = restore.manager->GetRestorePathsXml(restore.session, paths.put());
                EXPECT_EQ(win::bstr_text(paths.get()), SUCCEEDED(result) ? answer : L"");
                return result;
            },
            {"HvGetRestorePaths session={session}"},
            {"Obtaining list of restore paths. Session ID: '{session}'.", "List of restore paths was obtained."},
            1,
            {"Failed to retrieve restore paths."}};
}

method_t reporting(bool succeeded) {
    const std::string word = succeeded ? "true" : "false";
    return {
        "SetRestoreStatus",
        "HvSetRestoreStatus",
        [succeeded](restore_t& restore) {
            return restore.manager->SetRestoreStatus(restore.session, succeeded ? VARIANT_TRUE : VARIANT_FALSE);
        },
        {"HvSetRestoreStatus session={session} succeeded=" + std::string(succeeded ? "1" : "0")},
        {"Updating VM restore status. Session ID: '{session}'. Succeeded: '" + word + "'.", "VM restore status was updated."},
        1,
        {"Failed to update VM restore status."}};
}

const method_t finishing{"PostRestore",
                         "HvPostRestore",
                         [](restore_t& restore) { return restore.manager->PostRestore(restore.session); },
                         {"HvPostRestore session={session}"},
                         {"Performing VM post-restore steps. Session ID: '{session}'.",
                          "Post restore steps were performed. Session ID: '{session}'."},
                         1,
                         {"Failed to perform post-restore steps."}};

const method_t closing{"CloseSession",
                       "HvCloseRestoreSession",
                       [](restore_t& restore) { return restore.manager->CloseSession(restore.session); },
                       {"HvCloseRestoreSession session={session}"},
                       {"Closing VM restore session. Session ID: '{session}'.", "VM restore session was closed."},
                       1,
                       {"Failed to close restore session."}};

class Restore : public session {};

TEST_F(Restore, MethodsSendLogAndFailExactlySo) {
    restore_t restore(connected_integrator());
    constexpr wchar_t paths[] =
        LR"(<RestorePaths VMID="web"><File Source="D:\vm\web\system.vhd" Target="E:\back\system.vhd"/></RestorePaths>)";
    for (const method_t& method : {creating, importing, preparing, listing_paths(paths), reporting(false), finishing, closing})
        play(method, restore, log_);
    for (const method_t& method : {creating, importing, preparing_by_spec,
                                   listing_paths(LR"(<RestorePaths VMID="web"></RestorePaths>)"), reporting(true), closing})
        play(method, restore, log_);
}

TEST_F(Restore, LeavesTheOrderToTheHost) {
    restore_t restore(new_integrator());
    ASSERT_EQ(restore.manager->CreateSession(&restore.session), S_OK);
    EXPECT_EQ(outcome(restore.manager->PostRestore(restore.session)),
              failed({"Failed to perform post-restore steps.",
                      "Post-restore needs a restore session that is reported; the session '" +
                          text::guid_text(restore.session) + "' is created."}));
    EXPECT_EQ(
        outcome(restore.manager->CloseSession(GUID{})),
        failed({"Failed to close restore session.", "There is no restore session '00000000-0000-0000-0000-000000000000'."}));
    ASSERT_EQ(lab::host()->restore.sessions().size(), 1u) << "no session closes by itself";
    restore.manager.reset();
    EXPECT_EQ(lab::host()->restore.sessions().size(), 1u);
}

TEST_F(Restore, NullOutputsDoNothing) {
    restore_t restore(new_integrator());
    log_.clear();
    EXPECT_EQ(restore.manager->CreateSession(nullptr), E_POINTER);
    EXPECT_EQ(restore.manager->GetRestorePathsXml(GUID{}, nullptr), E_POINTER);
    EXPECT_EQ(log_.texts(), lines_t{});
    EXPECT_EQ(lab::requests().take(), lines_t{});
}

}  // namespace
}  // namespace hv_tests
