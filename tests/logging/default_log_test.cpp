#include "logging/default_log.h"

#include <gmock/gmock.h>

#include "foundation/errors.h"
#include "logging/memory_receiver.h"
#include "logging/write.h"
#include "tests/expected_texts.h"
#include "tests/logging/registry_setting.h"
#include "tests/logging/scratch.h"

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::MatchesRegex;
using ::testing::StartsWith;

const char expected[] =
#include "tests/logging/default_log.txt"
    ;

logging::header_facts_t facts() {
    logging::header_facts_t facts;
    facts.executable_path = [] { return std::string("C:\\host.exe"); };
    facts.file_version = [](const std::string& path) {
        return path == "C:\\host.exe" ? text::version_text(0x0006'0001, 0x0203'0004) : "of another file";
    };
    facts.os_version = [] { return OSVERSIONINFOA{0, 6, 1, 7601, 0, "Service Pack 1"}; };
    return facts;
}

TEST(LogHeader, AFailureInOneGroupLeavesTheOther) {
    logging::captured_log_t log;
    logging::header_facts_t no_version = facts();
    no_version.file_version = [](const std::string&) -> std::string { throw exc::win_sys_exc_t("unknown.", 5); };
    logging::write_log_header(no_version);
    logging::header_facts_t no_os = facts();
    no_os.os_version = []() -> OSVERSIONINFOA { throw exc::win_sys_exc_t("Failed to retrieve OS version", 5); };
    logging::write_log_header(no_os);
    std::vector<std::string> told = log.texts();
    EXPECT_EQ(std::erase(told, ""), 2) << "one in front of each";
    EXPECT_THAT(told, ElementsAreArray(section(expected, "two headers")));
    EXPECT_THAT(logging::header_facts_t().file_version("C:\\windows\\system32\\kernel32.dll"),
                MatchesRegex("\\d+\\.\\d+\\.\\d+\\.\\d+"));
}

// The module's log in a folder of the test's own.
struct default_log_test : scratch_test {
    // What was written behind the bytes that an earlier run had left.
    std::vector<std::string> texts_behind(const std::string& earlier) {
        logging::open_default_log();
        logging::info("line");
        logging::default_log()->set_receiver(nullptr);
        logging::default_log()->set_size_control(false);
        const std::string log = read_all(log_path);
        EXPECT_TRUE(log.starts_with(earlier));
        return texts_of(log.substr(earlier.size()));
    }

    const registry_setting_t setting{L"SOFTWARE\\Korva\\Quorvane", {{L"LogDirectory", scratch.path().wstring()}}};
    const std::string log_path = scratch / "Auxiliary.KorvaProxyClient.log";
};

TEST_F(default_log_test, CompressesAFullLogAndBeginsWithTheHeader) {
    const std::string earlier = numbered_lines(15'728'640);
    write_all(log_path, earlier);
    EXPECT_THAT(texts_behind(""),
                ElementsAre("     ", "     " + std::string(77, '='), "     {",
                            MatchesRegex("       Path to the executable module:\\w:.*\\\\logging_tests.exe"),
                            StartsWith("     ERR |  "), "     >>  |  Size of the version resource is unknown.",
                            MatchesRegex("       OS version: 0\\.\\d+\\.0\\.\\d+"), MatchesRegex("       OS build: \\d+"),
                            StartsWith("       OS description: "), "     }", "     line"));
    EXPECT_TRUE(read_archive(log_path + ".gz") == earlier);
}

TEST_F(default_log_test, RotatesWhileItRuns) {
    logging::open_default_log();
    logging::info(std::string(15'728'640, 'x'));
    for (int i = 0; i < 1000; ++i)
        logging::info("line");
    logging::default_log()->set_receiver(nullptr);
    logging::default_log()->set_size_control(false);
    EXPECT_GT(read_archive(log_path + ".gz").size(), 15'728'640u);
    EXPECT_LT(read_all(log_path).size(), 100'000u);
}

TEST_F(default_log_test, GoesOnInAFullLogThatCannotBeRotated) {
    const std::string earlier(15'728'640, 'x');
    write_all(log_path, earlier);
    write_archive(log_path + ".gz", "held");
    const std::ifstream reader(log_path + ".gz");
    std::vector<std::string> texts = texts_behind(earlier);
    ASSERT_GT(texts.size(), 10u) << "the header stands in front";
    texts.erase(texts.begin(), texts.begin() + 9);
    EXPECT_THAT(texts, ElementsAreArray(section(expected, "behind the header", log_path)));
    EXPECT_EQ(read_archive(log_path + ".gz"), "held");
}

TEST_F(default_log_test, ThatCannotBeOpenedLeavesTheProcessWithoutReceiver) {
    std::filesystem::create_directory(log_path);
    logging::open_default_log();
    logging::info("dropped");
    EXPECT_EQ(logging::default_log()->set_receiver(nullptr), nullptr);
}

}  // namespace
