// The samples as a console developer runs them, against the lab.
#include <gmock/gmock.h>

#include "tests/com/loaded_dll.h"
#include "tests/lab_process.h"

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

class Samples : public ::testing::Test {
protected:
    Samples() {
        ::SetEnvironmentVariableW(L"KORVA_PASSWORD", L"secret");
        EXPECT_EQ(loaded_dll().unregister_server(), S_OK);  // what a test that was ended may have left
    }

    std::string run(const std::wstring& program, int port, const std::wstring& script = L"") {
        child_process sample(program, script + L" localhost " + std::to_wstring(port) + L" .\\operator");
        std::string output = sample.read_all();
        exit_code = sample.exit_code();
        return output;
    }

    DWORD exit_code = 99;
    const lab_process lab{L"--port 0 --quiet"};
};

TEST_F(Samples, EarlyBoundNeedsNoRegistration) {
    EXPECT_THAT(run(L"early_bound.exe", lab.port()),
                AllOf(HasSubstr("HarddiskVolumeShadowCopy1\\vm\\web\\system.vhd"), HasSubstr("Snapshot closed.")));
    EXPECT_EQ(exit_code, 0u);
    EXPECT_THAT(run(L"early_bound.exe", 1), AllOf(HasSubstr("TestConnection failed (0x80020009): Failed to check"),
                                                  HasSubstr("\r\nRPC function call failed.")));
    EXPECT_EQ(exit_code, 1u);
}

TEST_F(Samples, LateBoundCallsByNames) {
    EXPECT_THAT(run(L"late_bound.exe", lab.port()), HasSubstr("(0x800401F3). Is the DLL registered?"));
    const registered_dll dll;
    EXPECT_THAT(run(L"late_bound.exe", lab.port()), HasSubstr("<LabReply Command=\"GetHostInfo\"><Host/></LabReply>"));
    EXPECT_EQ(exit_code, 0u);
    EXPECT_THAT(run(L"late_bound.exe", 1), HasSubstr("TestConnection failed (0x80020009): RPC function call failed."));
    EXPECT_EQ(exit_code, 1u);
}

// Wine's script host ends with 0 whatever happens: the last line tells that the script came through.
TEST_F(Samples, ScriptSeesTheHost) {
    const registered_dll dll;
    EXPECT_THAT(
        run(LR"(C:\windows\system32\cscript.exe)", lab.port(), L"//nologo " + child_process::own_folder() + L"host.vbs"),
        AllOf(HasSubstr("Snapshot made: False. The Hyper-V writer timed out."), HasSubstr("Provider: System provider"),
              HasSubstr("Volume: C:\\ClusterStorage\\Volume1, shared: True"),
              HasSubstr("Failed as expected: The cluster has no resource 'No such machine'.")));
}

}  // namespace
