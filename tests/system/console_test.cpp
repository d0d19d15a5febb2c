// The example console, as a process of its own, against the lab in this one: what it prints, how it ends, and what it asks of
// the host, above all where something fails.
#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <sstream>
#include <vector>

#include "foundation/format.h"
#include "lab/failures.h"
#include "lab/host_model.h"
#include "lab/request_log.h"
#include "lab/serve.h"
#include "lab/server.h"
#include "tests/com/loaded_dll.h"
#include "tests/lab_process.h"
#include "tests/system/client.h"

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

// Runs of the console, one after the other, each in the folder {saved} and against the lab as it is made anew for each:
//
//   $ ARGUMENTS
//   ! PROCEDURE=TEXT            how the lab is told to fail
//   TEXT                        parts of the output, in this order
//   > EXIT-CODE REQUEST ...     what it asks of the lab
const char cases[] =
#include "tests/system/console_cases.txt"
    ;

struct case_t {
    std::string arguments, failure, end;
    std::vector<std::string> output;
};

std::vector<case_t> read_cases() {
    std::vector<case_t> all;
    std::istringstream lines(cases);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("$ "))
            all.emplace_back().arguments = line.substr(2);
        else if (line.starts_with("! "))
            all.back().failure = line.substr(2);
        else if (line.starts_with("> "))
            all.back().end = line.substr(2);
        else if (!line.empty())
            all.back().output.push_back(line);
    }
    return all;
}

// The procedures that were called, with what is reported to the host: " HvTestConnection HvSetVmBackupStatus status=0 ...".
std::string take_requests() {
    std::string all;
    for (const std::string& line : lab::requests().take()) {
        const std::string last = line.substr(line.rfind(' ') + 1);
        all += ' ' + line.substr(0, line.find(' '));
        if (last.starts_with("status=") || last.starts_with("succeeded="))
            all += ' ' + last;
    }
    return all;
}

// How wide the console's columns are is its own affair.
std::string without_columns(std::string text) {
    text.erase(std::unique(text.begin(), text.end(), [](char a, char b) { return a == ' ' && b == ' '; }), text.end());
    return text;
}

class Console : public ::testing::Test {
protected:
    Console() {
        port();
        lab::reset();
        ::SetEnvironmentVariableW(L"KORVA_PASSWORD", L"secret");
        std::filesystem::remove_all(folder_);
    }
    ~Console() override { std::filesystem::remove_all(folder_); }

    static unsigned port() {
        static const lab::server server;
        return server.port();
    }

    struct ended_t {
        std::string output, end;
    };
    child_process start(std::string arguments, DWORD flags = 0) {
        for (std::size_t at; (at = arguments.find("{saved}")) != std::string::npos;)
            arguments.replace(at, 7, folder_.string());
        return {L"korva-console.exe", text::widen(text::format("--account LAB\\operator --port %1 %2", port(), arguments)),
                flags};
    }
    static ended_t end_of(child_process& console) {
        ended_t ended;
        ended.output = without_columns(console.read_all());
        ended.end = std::to_string(console.exit_code()) + take_requests();
        EXPECT_THAT(ended.output, Not(HasSubstr("secret")));
        return ended;
    }
    ended_t run(const std::string& arguments) {
        lab::requests().take();
        child_process console = start(arguments);
        return end_of(console);
    }

    const single_threaded_com com_;
    const registered_dll dll_;
    const std::filesystem::path folder_ = std::filesystem::temp_directory_path() / L"korva console test";
};

TEST_F(Console, DoesWhatItsCommandsSayAndTidiesUpWhatFails) {
    for (const case_t& wanted : read_cases()) {
        SCOPED_TRACE(wanted.arguments + ' ' + wanted.failure);
        lab::reset();
        if (!wanted.failure.empty())
            lab::set_failure(wanted.failure);
        const ended_t ended = run(wanted.arguments);
        EXPECT_EQ(ended.end, wanted.end);
        std::size_t from = 0;
        for (const std::string& part : wanted.output) {
            from = ended.output.find(part, from);
            ASSERT_NE(from, std::string::npos) << part << " is not, or not there, in\n" << ended.output;
        }
    }
}

TEST_F(Console, ClosesWhatAnOperationHasMade) {
    const GUID operation =
        lab::host()->snapshots.begin_creation(lab::host_model::default_machines(), L"<Snapshot Polls='0'/>", L"", L"");
    EXPECT_EQ(run("close " + text::guid_text(operation)).end,
              "0 HvTestConnection HvGetSnapshotIDByOperationID HvCloseSnapshot");
}

// The host is held in a call, and let go when Ctrl-C was pressed. Under Wine the console is told as that call returns: the
// pauses before the replies give it the time.
TEST_F(Console, StopsAtCtrlCAndTidiesUp) {
    const char* const snapshot = "snapshot \"<Snapshot Polls='2'/>\" \"{saved}\"";
    EXPECT_THAT(run(snapshot).end, StartsWith("0"));
    const struct {
        const char *arguments, *running, *output, *never;
    } rows[] = {
        {"restore \"{saved}\" 6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d02 R:\\back", "CreateRestoreSession", "CloseSession ok\r\n",
         "HvPreRestore"},
        {snapshot, "HvBeginSnapshotCreationEx", " goes on; 'close' ends ", "HvGetSnapshotIDByOperationID"},
        {"vss D:\\", "HvVssEnumProviders", "", "HvVssCollectWriterDoc"},
    };
    lab::set_reply_pause(100);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.running);
        std::optional<lab::locked_host> held(lab::host());
        child_process console = start(row.arguments, CREATE_NO_WINDOW);
        std::string requests;
        for (int i = 0; i < 1000 && !requests.ends_with(row.running); ++i, ::Sleep(10))
            requests += take_requests();
        ASSERT_TRUE(console.press_ctrl_c()) << ::GetLastError();
        held.reset();
        const ended_t ended = end_of(console);
        EXPECT_THAT(ended.end, AllOf(StartsWith("130"), Not(HasSubstr(row.never))));
        EXPECT_THAT(ended.output, AllOf(HasSubstr("korva-console: Interrupted.\r\n"), HasSubstr(row.output)));
    }
    lab::set_reply_pause(std::nullopt);
}

TEST_F(Console, MeetsALabThatIsToldHowItsWorkGoes) {
    const lab_process lab(L"--port 0 --polls 0 --fail-work \"The disk is full.\" --reply-pause 1");
    const ended_t ended = run(text::format("--port %1 snapshot \"<Snapshot/>\" \"{saved}\"", lab.port()));
    EXPECT_EQ(ended.end, "1");
    EXPECT_THAT(ended.output, AllOf(HasSubstr("Refresh 1: failed"), HasSubstr("The disk is full.")));
    for (const wchar_t* wrong :
         {L"--port 12abc", L"--port 65536", L"--polls -1", L"--reply-pause", L"--none", L"--fail HvPrerestore=x"})
        EXPECT_EQ(child_process(L"korva-lab.exe", wrong).exit_code(), 1u);
}

}  // namespace
