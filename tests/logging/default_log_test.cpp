#include "logging/default_log.h"

#include <gmock/gmock.h>

#include "foundation/errors.h"
#include "logging/log_directory.h"
#include "logging/memory_receiver.h"

namespace {

using ::testing::ElementsAre;

const std::string ruler(77, '=');

logging::header_facts_t facts() {
    logging::header_facts_t facts;
    facts.executable_path = [] { return std::string("C:\\host.exe"); };
    facts.file_version = [](const std::string& path) {
        return path == "C:\\host.exe" ? logging::version_text(0x0006'0001, 0x0203'0004) : "of another file";
    };
    facts.os_version = [] {
        OSVERSIONINFOA version{};
        version.dwMajorVersion = 6;
        version.dwMinorVersion = 1;
        version.dwBuildNumber = 7601;
        lstrcpyA(version.szCSDVersion, "Service Pack 1");
        return version;
    };
    return facts;
}

TEST(LogHeader, TellsHostAndSystem) {
    logging::captured_log_t log;
    logging::write_log_header(facts());
    EXPECT_THAT(log.texts(),
                ElementsAre("", ruler, "{", "  Path to the executable module:C:\\host.exe", "  Agent version:6.1.515.4",
                            "  OS version: 0.6.0.1", "  OS build: 7601", "  OS description: Service Pack 1", "}"));
}

TEST(LogHeader, AFailureInOneGroupLeavesTheOther) {
    logging::captured_log_t log;
    logging::header_facts_t no_version = facts();
    no_version.file_version = [](const std::string&) -> std::string { throw exc::win_sys_exc_t("unknown.", 5); };
    logging::write_log_header(no_version);
    logging::header_facts_t no_os = facts();
    no_os.os_version = []() -> OSVERSIONINFOA { throw exc::win_sys_exc_t("Failed to retrieve OS version", 5); };
    logging::write_log_header(no_os);
    EXPECT_THAT(
        log.texts(),
        ElementsAre("", ruler, "{", "  Path to the executable module:C:\\host.exe", "ERR |  Access denied.", ">>  |  unknown.",
                    "  OS version: 0.6.0.1", "  OS build: 7601", "  OS description: Service Pack 1", "}",  //
                    "", ruler, "{", "  Path to the executable module:C:\\host.exe", "  Agent version:6.1.515.4",
                    "ERR |  Access denied.", ">>  |  Failed to retrieve OS version", "}"));
}

TEST(LogHeader, AsksTheRealProcessAndSystem) {
    const logging::header_facts_t real;
    EXPECT_THAT(real.executable_path(), ::testing::HasSubstr("logging_tests.exe"));
    EXPECT_THAT(real.file_version("C:\\windows\\system32\\kernel32.dll"), ::testing::MatchesRegex("\\d+\\.\\d+\\.\\d+\\.\\d+"));
    EXPECT_GE(real.os_version().dwMajorVersion, 6u);
    try {
        real.file_version(real.executable_path());
        FAIL() << "the test program has no version resource";
    } catch (const exc::win_sys_exc_t& error) {
        EXPECT_EQ(error.lines().at(1), "Size of the version resource is unknown.");
    }
}

}  // namespace
