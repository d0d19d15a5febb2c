#include <gmock/gmock.h>

#include "deploy/admin_share.h"
#include "deploy/share_information.h"
#include "deploy/unc_path.h"
#include "logging/memory_receiver.h"
#include "logging/write.h"
#include "tests/deploy/played_host.h"
#include "tests/expected_texts.h"
#include "tests/foundation/thrown.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::FieldsAre;
using testing::Optional;
using testing::SizeIs;

const char texts[] =
#include "tests/deploy/platform.txt"
    ;

struct Platform : testing::Test {
    played::host_t host;
    logging::captured_log_t log;
    const impl::deployer_platform_t platform = host.platform();

    // All that the operation calls, logs, throws and leaves open is the section of that name, behind the calls that fail.
    void expect_told(const std::string& name, const std::function<void()>& operation) {
        host.recover();
        log.clear();
        std::vector<std::string> expected = section(texts, name);
        std::erase_if(expected, [&](const std::string& line) {
            const bool fails = line.starts_with("fails: ");
            if (fails)
                host.fail(columns<2>(line.substr(7))[0], std::stoul(columns<2>(line)[1]));
            return fails;
        });
        const std::vector<std::string> thrown_lines = thrown(operation);
        std::vector<std::string> told = log.texts();
        for (const std::string& line : thrown_lines)
            if (line != "nothing")
                told.push_back("throws " + line);
        if (!host.left_open().empty())
            told.push_back("leaves open: " + host.left_open());
        EXPECT_THAT(told, ElementsAreArray(expected)) << name;
        host.connected.clear();
    }
    win::win_svc_t closed_service() {
        return win::win_svc_t(std::make_shared<win::win_scm_t>(L"host", SC_MANAGER_ALL_ACCESS, platform.services));
    }
    win::win_svc_t opened_service() {
        win::win_svc_t service = closed_service();
        service.open(L"svc", GENERIC_ALL);
        return service;
    }
};

TEST_F(Platform, AShareIsConnectedAndGivenBack) {
    const auto open = [&](const wchar_t* name, const wchar_t* user = L"KORVA\\admin", std::wstring_view password = L"secret") {
        const win::CAdmPersistentShare share(name, user, win::secret_t(password), platform.network);
    };
    expect_told("a share as the caller", [&] { open(L"host", L"", L""); });
    expect_told("a share that is remembered already, and gone when it is closed", [&] { open(L"host"); });
    expect_told("a share that is not closed", [&] { open(L"host"); });
    for (const char* name : {"\\\\HOST\\C$", "\\\\host.korva.lan\\data", "\\\\host.other.lan\\x", "\\\\hostess\\C$", "", "X",
                             "\\\\host", "\\\\host\\c$"})
        host.connections.push_back(text::widen(name));
    expect_told("a share of a host that is connected with other credentials", [&] { open(L"host.korva.lan"); });
    expect_told("a share of that host at the next attempt", [&] { open(L"host.korva.lan"); });
}

TEST_F(Platform, DroppingConnectionsFailsInItsOwnWords) {
    for (const char* name : {"no enumeration", "no first connection", "a first connection of unknown size",
                             "a connection that stays", "a connection that is gone"}) {
        host.connections = {L"\\\\host\\C$", L"\\\\host\\D$"};
        expect_told(name, [&] { win::drop_connections(L"host", platform.network); });
    }
}

TEST_F(Platform, ShareInformationIsFreedAndAHostThatSendsNoPathIsNotBelieved) {
    const auto ask = [&] { logging::info("%1", win::share_local_path(L"host", L"ADMIN$", platform.shares)); };
    expect_told("information", ask);
    host.share_path = nullptr;
    expect_told("information without a path", ask);
}

TEST_F(Platform, ALinkThatStaysIsTriedThreeTimesAndNeverFollowed) {
    win::file_functions_t files = platform.files;
    files.get_attributes = [](auto) -> DWORD { return FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT; };
    expect_told("a link that is not removed", [&] { win::remove_folder(L"\\\\host\\ADMIN$\\Korva", files); });
    EXPECT_THAT(host.waits, ElementsAre(100u, 100u));
}

TEST_F(Platform, WhatIsNoFolderOrHasNoRootIsAnError) {
    const std::string file = text::narrow(host.at(L"C:\\console\\KorvaDeploymentSvc.exe").wstring());
    EXPECT_EQ(thrown([&] { win::create_folder(text::widen(file + "\\sub")); }).front(),
              "Cannot create folder. Folder path: [" + file + "\\sub].");
    EXPECT_THAT(thrown([&] { win::remove_folder(text::widen(file)); }), ElementsAre("Invalid folder path: [" + file + "]."));

    for (const char* path : {"", "C:", "C:\\", "Korva", "\\\\host", "\\\\host\\share", "\\\\\\\\host\\ADMIN$\\Korva"})
        EXPECT_THAT(thrown([&] { win::create_folder(text::widen(path)); }),
                    ElementsAre(text::format("Cannot create folder. Folder path: [%1].", path),
                                text::format("Invalid folder path: [%1].", path)));
}

using ServiceControl = Platform;

TEST_F(ServiceControl, AFailedOpenGivesItsTextAndLeavesNoHandle) {
    expect_told("no manager", [&] { win::win_scm_t(nullptr, SC_MANAGER_CONNECT, platform.services); });
    expect_told("a service that is not opened", [&] { opened_service(); });
}

TEST_F(ServiceControl, WhatIsMissingIsToldBeforeAnythingIsDone) {
    win::win_svc_t service = closed_service();
    const std::function<void()> operations[] = {
        [&] { service.open(nullptr, GENERIC_ALL); },
        [&] { service.create({}); },
        [&] { service.create({.name = L"svc", .binary_path = L"x"}); },
        [&] { service.create({.name = L"svc", .display_name = L"Svc"}); },
        [&] { service.start(); },
        [&] { service.stop(); },
        [&] { service.remove(); },
        [&] { service.query_configuration(); },
        [&] { service.set_description(L"text"); },
        [&] { service.set_failure_actions(); },
    };
    host.calls.clear();
    std::vector<std::string> told;
    for (const auto& operation : operations)
        told.push_back(thrown_text(operation));
    EXPECT_THAT(told, ElementsAreArray(section(texts, "what is missing")));
    EXPECT_THAT(host.calls, testing::IsEmpty());
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
        win::win_svc_t service = opened_service();
        EXPECT_THAT(thrown([&] { row.start ? service.start() : service.stop(); }), ElementsAre(row.line));
        EXPECT_THAT(host.waits, testing::AllOf(SizeIs(row.waits), Each(1000u)));
    }
    EXPECT_EQ(host.count("QueryServiceStatus"), 0) << "what is stopped already is not looked at";
}

TEST_F(ServiceControl, AConfigurationOfAnySizeIsReadWhole) {
    host.install(std::string(5000, 'x') + " -port \xe9", SERVICE_STOPPED);
    EXPECT_EQ(opened_service().query_configuration().binary_path, std::wstring(5000, L'x') + L" -port \u00e9");
}

TEST(UncPaths, AreSplitIntoServerShortNameAndRest) {
    for (const std::string& row : section(texts, "paths: server, its short name, the rest; the share")) {
        const auto [path, server, short_name, rest, share] = columns<5>(row);
        const auto parsed = win::parse_unc(text::widen(path), false);
        EXPECT_THAT(parsed, Optional(FieldsAre(text::widen(server), text::widen(short_name), text::widen(rest)))) << path;
        EXPECT_EQ(win::share_of(text::widen(path)), text::widen(share));
    }
    for (const auto& [path, line] : {std::pair{L"", "Invalid UNC path []."},
                                     {L"\\\\", "Invalid UNC path [\\\\]."},
                                     {L"C:\\x", "Invalid UNC path [C:\\x]."},
                                     {L"\\\\host", "Invalid UNC path [\\\\host]"}}) {
        EXPECT_FALSE(win::parse_unc(path, true));
        EXPECT_EQ(thrown_text([path = path] { win::parse_unc(path, false); }), line);
        EXPECT_EQ(win::share_of(path), L"");
    }
}

}  // namespace
