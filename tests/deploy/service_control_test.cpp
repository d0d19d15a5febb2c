#include "deploy/service_control.h"

#include <gmock/gmock.h>

#include "foundation/system_text.h"
#include "tests/deploy/played_host.h"
#include "tests/foundation/thrown.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::SizeIs;

struct ServiceControl : testing::Test {
    played::host_t host;

    win::win_svc_t closed() {
        return win::win_svc_t(std::make_shared<win::win_scm_t>(L"host", SC_MANAGER_ALL_ACCESS, host.platform().services));
    }
    win::win_svc_t opened() {
        win::win_svc_t service = closed();
        service.open(L"svc", GENERIC_ALL);
        return service;
    }
    void TearDown() override { EXPECT_EQ(host.left_open(), ""); }
};

TEST_F(ServiceControl, AFailedOpenGivesItsTextAndLeavesNoHandle) {
    const std::string denied = exc::system_error_text(ERROR_ACCESS_DENIED);
    host.fail("OpenSCManagerW", ERROR_ACCESS_DENIED);
    EXPECT_THAT(thrown([&] { win::win_scm_t(nullptr, SC_MANAGER_CONNECT, host.platform().services); }),
                ElementsAre(denied, "Cannot connect to service control manager. Host: 'localhost'."));
    host.fail("OpenServiceW", ERROR_ACCESS_DENIED);
    EXPECT_THAT(thrown([&] { opened(); }), ElementsAre(denied, "Failed to open service 'svc'. " + denied + "."));
    EXPECT_THAT(host.calls, ElementsAre("OpenSCManagerW(null, ServicesActive, 1)",
                                        "OpenSCManagerW(host, ServicesActive, 0x000F003F)", "OpenServiceW(svc, 0x10000000)"));
}

TEST_F(ServiceControl, WhatIsMissingIsToldBeforeAnythingIsDone) {
    win::win_svc_t service = closed();
    const char* const not_open = "Bad state: service not opened or created";
    const std::pair<std::function<void()>, const char*> rows[] = {
        {[&] { service.open(nullptr, GENERIC_ALL); }, "Bad argument: pszServiceName"},
        {[&] { service.create({}); }, "Bad argument: pszServiceName"},
        {[&] { service.create({.name = L"svc", .binary_path = L"x"}); }, "Bad argument: pszDisplayName"},
        {[&] { service.create({.name = L"svc", .display_name = L"Svc"}); }, "Bad argument: pszBinaryPathName"},
        {[&] { service.start(); }, "Bad state: service ''  is not opened or created. "},
        {[&] { service.stop(); }, not_open},
        {[&] { service.remove(); }, not_open},
        {[&] { service.query_configuration(); }, not_open},
        {[&] { service.set_description(L"text"); }, not_open},
        {[&] { service.set_failure_actions(); }, not_open},
    };
    for (const auto& [operation, line] : rows)
        EXPECT_THAT(thrown(operation), ElementsAre(line));
    EXPECT_THAT(host.calls, SizeIs(1)) << "the manager's";
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
        {SERVICE_RUNNING, 31, false, "Failed to stop service", 30},
        {SERVICE_STOPPED, 1, false, "nothing", 0},
    };
    for (const auto& row : rows) {
        host.recover();
        host.install("x.exe", row.state);
        host.polls_until_state = row.polls_needed;
        win::win_svc_t service = opened();
        EXPECT_THAT(thrown([&] { row.start ? service.start() : service.stop(); }), ElementsAre(row.line));
        EXPECT_THAT(host.waits, testing::AllOf(SizeIs(row.waits), Each(1000u)));
    }
    EXPECT_EQ(host.count("QueryServiceStatus"), 0) << "what is stopped already is not looked at";
}

TEST_F(ServiceControl, AConfigurationOfAnySizeIsReadWhole) {
    host.install(std::string(5000, 'x') + " -port \xe9", SERVICE_STOPPED);
    EXPECT_EQ(opened().query_configuration().binary_path, std::wstring(5000, L'x') + L" -port \u00e9");
}

}  // namespace
