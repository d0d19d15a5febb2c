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

method_t reporting(bool succeeded) {
    const std::string word = succeeded ? "true" : "false";
    return {
        [succeeded](restore_t& restore) {
            return restore.manager->SetRestoreStatus(restore.session, succeeded ? VARIANT_TRUE : VARIANT_FALSE);
        },
        {"HvSetRestoreStatus session={session} succeeded=" + std::string(succeeded ? "1" : "0")},
        {"Updating VM restore status. Session ID: '{session}'. Succeeded: '" + word + "'.", "VM restore status was updated."},
        {"Failed to update VM restore status."}};
}

const method_t creating{[](restore_t& restore) {
                            const HRESULT result = restore.manager->CreateSession(&restore.session);
                            EXPECT_EQ(lab::host()->restore.sessions().empty(), FAILED(result)) << "nothing to close";
                            return result;
                        },
                        {"CreateRestoreSession"},
                        {"Creating Hyper-V restore session.", "Session was created. Session ID: '{session}'."},
                        {"Failed to create Hyper-V restore session."}};

const method_t importing{[](restore_t& restore) {
                             return restore.manager->ImportConfig(restore.session, bstr(L"<B n=\"ü\"/>").get(),
                                                                  bstr(L"<W/>").get());
                         },
                         {R"(HvImportConfig session={session} backup_document="<B n=\"ü\"/>" writer_document="<W/>")"},
                         {"Importing Hyper-V backup configuration.", "Backup configuration was imported."},
                         {"Failed to import Hyper-V backup configuration."}};

const method_t closing{[](restore_t& restore) { return restore.manager->CloseSession(restore.session); },
                       {"HvCloseRestoreSession session={session}"},
                       {"Closing VM restore session. Session ID: '{session}'.", "VM restore session was closed."},
                       {"Failed to close restore session."}};

// In the order of a console.
const method_t methods[] = {
    creating,
    importing,
    {[](restore_t& restore) {
         return restore.manager->PreRestore(restore.session, bstr(L"web").get(), bstr(files_xml).get(),
                                            bstr(LR"(E:\back)").get());
     },
     {R"(HvPreRestore session={session} vm="web" files_xml="<FilesList><Item Path=\"D:\\vm\\web\\\" Mask=\"system.vhd\" )"
      R"(Recursive=\"false\" RelativePath=\"system.vhd\" FullPath=\"\\\\?\\x\"/></FilesList>" new_path="E:\\back")"},
     {"Performing pre-restore. Session ID: '{session}'. VMID: 'web'.", "Pre-restore completed."},
     {"Failed to perform pre-restore."}},
    {[](restore_t& restore) {
         return gives_text(
             LR"(<RestorePaths VMID="web"><File Source="D:\vm\web\system.vhd" Target="E:\back\system.vhd"/></RestorePaths>)",
             [&](BSTR* paths) { return restore.manager->GetRestorePathsXml(restore.session, paths); });
     },
     {"HvGetRestorePaths session={session}"},
     {"Obtaining list of restore paths. Session ID: '{session}'.", "List of restore paths was obtained."},
     {"Failed to retrieve restore paths."}},
    reporting(false),
    {[](restore_t& restore) { return restore.manager->PostRestore(restore.session); },
     {"HvPostRestore session={session}"},
     {"Performing VM post-restore steps. Session ID: '{session}'.",
      "Post restore steps were performed. Session ID: '{session}'."},
     {"Failed to perform post-restore steps."}},
    closing,
    // Again, told all at once.
    creating,
    importing,
    {[](restore_t& restore) {
         return restore.manager->PreRestoreEx(restore.session,
                                              bstr(L"<RestoreSpec VMID='web' NewDestPath=''><FilesList/></RestoreSpec>").get());
     },
     {R"(HvPreRestoreEx session={session} specification="<RestoreSpec VMID='web' NewDestPath=''><FilesList/></RestoreSpec>")"},
     {"Performing pre-restore. Session ID: '{session}'.", "Pre-restore completed."},
     {"Failed to perform pre-restore."}},
    reporting(true),
    closing,
};

class Restore : public session {};

TEST_F(Restore, MethodsSendLogAndFailExactlySo) {
    restore_t restore(connected_integrator());
    for (const method_t& method : methods)
        play(method, restore, log_);
}

// What the host answers goes out as it is, step by step; nothing here looks at the order.
TEST_F(Restore, LeavesTheOrderToTheHost) {
    restore_t restore(new_integrator());
    EXPECT_EQ(outcome(closing.call(restore)),
              failed({closing.failure[0], "There is no restore session '00000000-0000-0000-0000-000000000000'."}));
    ASSERT_EQ(outcome(creating.call(restore)), succeeded());
    ASSERT_EQ(outcome(importing.call(restore)), succeeded());
    for (const auto& [method, refusal] :
         {std::pair(1, "Importing the configuration needs a restore session that is created"),
          std::pair(3, "Listing the restore paths needs a restore session that is prepared"),
          std::pair(4, "Reporting the restore's outcome needs a restore session that is prepared"),
          std::pair(5, "Post-restore needs a restore session that is reported")}) {
        lab::requests().take();
        EXPECT_EQ(outcome(methods[method].call(restore)),
                  failed(restore.filled(
                      {methods[method].failure[0], std::string(refusal) + "; the session '{session}' is configured."})));
        EXPECT_EQ(lab::requests().take().size(), 1u) << "asked all the same";
    }
    restore.manager.reset();
    EXPECT_EQ(lab::host()->restore.sessions().size(), 1u) << "no session closes by itself";
}

}  // namespace
}  // namespace hv_tests
