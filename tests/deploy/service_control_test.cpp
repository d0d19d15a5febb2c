#include "deploy/service_control.h"

#include <gmock/gmock.h>

#include "foundation/format.h"
#include "foundation/system_text.h"
#include "tests/deploy/played_host.h"
#include "tests/foundation/thrown.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::SizeIs;

const std::string denied = exc::system_error_text(ERROR_ACCESS_DENIED);

struct ServiceControl : testing::Test {
    played::host_t host;

    std::shared_ptr<win::win_scm_t> manager() {
        return std::make_shared<win::win_scm_t>(L"host", SC_MANAGER_ALL_ACCESS, host.platform().services);
    }
    win::win_svc_t opened() {
        win::win_svc_t service(manager());
        service.open(L"svc", GENERIC_ALL);
        return service;
    }
    void TearDown() override { EXPECT_EQ(host.left_open(), ""); }
};

TEST_F(ServiceControl, NamesTheLocalMachineWhereNoHostIsGiven) {
    host.fail("OpenSCManagerW", ERROR_ACCESS_DENIED, 0);
    EXPECT_THAT(thrown([&] { win::win_scm_t(nullptr, SC_MANAGER_CONNECT, host.platform().services); }),
                ElementsAre(denied, "Cannot connect to service control manager. Host: 'localhost'."));
    EXPECT_THAT(thrown([&] { manager(); }), ElementsAre(denied, "Cannot connect to service control manager. Host: 'host'."));
    EXPECT_THAT(host.calls, ElementsAre("OpenSCManagerW(null, ServicesActive, 0x00000001)",
                                        "OpenSCManagerW(host, ServicesActive, 0x000F003F)"));
}

TEST_F(ServiceControl, NamesTheFirstArgumentThatIsMissing) {
    win::win_svc_t service(manager());
    const struct {
        win::new_service_t given;
        const char* line;
    } rows[] = {
        {{}, "Bad argument: pszServiceName"},
        {{.name = L"svc", .binary_path = L"x"}, "Bad argument: pszDisplayName"},
        {{.name = L"svc", .display_name = L"Svc"}, "Bad argument: pszBinaryPathName"},
    };
    for (const auto& row : rows)
        EXPECT_THAT(thrown([&] { service.create(row.given); }), ElementsAre(row.line));
    EXPECT_THAT(thrown([&] { service.open(nullptr, GENERIC_ALL); }), ElementsAre("Bad argument: pszServiceName"));
    EXPECT_FALSE(service.is_open());
    EXPECT_EQ(host.count("CreateServiceW") + host.count("OpenServiceW"), 0);
}

TEST_F(ServiceControl, AServiceThatIsNotOpenCanDoNothing) {
    win::win_svc_t service(manager());
    EXPECT_THAT(thrown([&] { service.start(); }), ElementsAre("Bad state: service ''  is not opened or created. "));
    const std::function<void()> operations[] = {
        [&] { service.stop(); }, [&] { service.remove(); }, [&] { service.query_configuration(); },
        [&] { service.set_description(L"text"); }, [&] { service.set_failure_actions(); }};
    for (const auto& operation : operations)
        EXPECT_THAT(thrown(operation), ElementsAre("Bad state: service not opened or created"));
    EXPECT_THAT(host.calls, SizeIs(1));
}

TEST_F(ServiceControl, AFailedOpenGivesItsTextWithTheCodesDescriptionAndLeavesNoHandle) {
    win::win_svc_t service(manager());
    host.fail("OpenServiceW", ERROR_ACCESS_DENIED);
    EXPECT_THAT(thrown([&] { service.open(L"svc", GENERIC_ALL); }),
                ElementsAre(denied, "Failed to open service 'svc'. " + denied + "."));
    EXPECT_FALSE(service.is_open());
}

TEST_F(ServiceControl, WaitsThirtyTimesOneSecondForAState) {
    const struct {
        DWORD state;
        int polls_needed;
        bool start;
        const char* line;
        std::size_t waits;
    } rows[] = {
        {SERVICE_STOPPED, 1, true, "nothing", 0},
        {SERVICE_STOPPED, 30, true, "nothing", 29},
        {SERVICE_STOPPED, 31, true, "Timed out to start service 'svc'. .", 30},
        {SERVICE_RUNNING, 30, false, "nothing", 29},
        {SERVICE_RUNNING, 31, false, "Failed to stop service", 30},
        {SERVICE_STOPPED, 1, false, "nothing", 0},
    };
    for (const auto& row : rows) {
        host.recover();
        host.install("x.exe", row.state);
        host.polls_until_state = row.polls_needed;
        win::win_svc_t service = opened();
        EXPECT_THAT(thrown([&] { row.start ? service.start() : service.stop(); }), ElementsAre(row.line));
        EXPECT_THAT(host.waits, SizeIs(row.waits));
        EXPECT_THAT(host.waits, Each(1000u));
    }
    EXPECT_EQ(host.count("QueryServiceStatus"), 0) << "what is stopped already is not looked at";
}

TEST_F(ServiceControl, AConfigurationOfAnySizeIsReadWhole) {
    const std::string long_command = std::string(5000, 'x') + " -port \xe9";
    host.install(long_command, SERVICE_STOPPED);
    EXPECT_EQ(opened().query_configuration().binary_path, std::wstring(5000, L'x') + L" -port \u00e9");
}

}  // namespace
