#include "logging/log.h"

#include <gmock/gmock.h>

#include <stdexcept>
#include <thread>

#include "foundation/errors.h"
#include "logging/memory_receiver.h"
#include "logging/write.h"
#include "tests/logging/child_role.h"
#include "tests/logging/scratch.h"

namespace {

using ::testing::AnyOf;
using ::testing::ElementsAre;

TEST(Layout, LinesAgainstFixedTimesAndThreads) {
    const SYSTEMTIME time{2013, 11, 0, 3, 14, 5, 9, 0};
    const std::string stamp = logging::format::stamp_text(&time);
    EXPECT_EQ(stamp, "[03.11.2013 14:05:09] ");
    EXPECT_EQ(logging::format::stamp_text(nullptr), "TIME ---");

    struct row_t {
        std::uint32_t style, level;
        DWORD thread;
        std::uint32_t indentation;
        const char* message;
        std::string lines;
    };
    const std::string five = "     ";
    const row_t rows[] = {
        {1, 3, 7, 0, "w", stamp + "< 7> Warning  w\r\n"},
        {1, 1, 1234, 1, "i", stamp + "<34> Info       i\r\n"},
        {1, 4, 100, 0, "\nb\n", stamp + "< 0> Error    \r\n" + stamp + "< 0> Error    b\r\n"},
        {1, 9, 12, 0, "x", stamp + "<12> x\r\n"},
        {0, 2, 7, 2, "i", stamp + "<     7> " + five + "    i\r\n"},
        {0, 1, 1234567, 0, "i", stamp + "<1234567> " + five + "i\r\n"},
        {0, 4, 7, 1, "a\nb", stamp + "<     7> " + five + "ERR |  a\r\n" + stamp + "<     7> " + five + ">>  |  b\r\n"},
        {0, 2, 7, 0, "a\r\nb", stamp + "<     7> " + five + "a\r\r\n" + stamp + "<     7> " + five + "b\r\n"},
        {5, 3, 7, 0, "w", stamp + "<     7> " + five + "WARN|w\r\n"},
    };
    for (const row_t& row : rows) {
        std::string lines;
        logging::format::append_lines(lines, {row.style, row.level, stamp, row.thread, five, row.indentation}, row.message,
                                      "\r\n");
        EXPECT_EQ(lines, row.lines) << "style " << row.style << " level " << row.level << " message " << row.message;
    }
}

TEST(Log, BeginsALineWithTheLocalTimeAndTheThread) {
    logging::log_t log;
    const auto memory = std::make_shared<logging::receiver::memory_receiver_t>();
    log.set_receiver(memory);
    SYSTEMTIME before, after;
    ::GetLocalTime(&before);
    log.write(2, 0, nullptr, "text");
    ::GetLocalTime(&after);
    char rest[40];
    std::snprintf(rest, sizeof rest, "<%6lu> text\r\n", ::GetCurrentThreadId());
    using logging::format::stamp_text;
    EXPECT_THAT(memory->text(), AnyOf(stamp_text(&before) + rest, stamp_text(&after) + rest));

    logging::format::time_stamp_t stamp;
    const std::string first(stamp.of({0, 30'000'000}));
    EXPECT_NE(stamp.of({10'000'000, 30'000'000}), first) << "a second later";
}

TEST(Log, FrontEndsWriteTheirLevelAndTheThreadsIndentationAndKeepTheLastError) {
    logging::captured_log_t log;
    {
        const logging::log_scope scope;
        std::thread([] { logging::info("another thread starts at 0"); }).join();
    }
    ::SetLastError(1234);
    logging::info("start %1", 1);
    {
        const auto step = logging::scoped("step '%1'", L"b\u00e9");
        logging::warning("careful");
        const logging::log_scope deeper;
        logging::error("failed\nagain");
    }
    logging::error_with(exc::win_sys_exc_t("cause", ERROR_ACCESS_DENIED), "outer %1", "text");
    logging::log_exception(std::runtime_error(""));
    logging::debug("100% %1 stays");
    EXPECT_EQ(::GetLastError(), 1234u);
    EXPECT_THAT(log.texts(), ElementsAre("another thread starts at 0", "start 1", "step 'b\xc3\xa9'", "WARN|  careful",
                                         "ERR |    failed", ">>  |    again", "ERR |outer text", ">>  |Access denied.",
                                         ">>  |cause", "ERR |Exception message is not available.", "100% %1 stays"));
}

TEST(Log, ScopeClosedTooOftenLeavesTheIndentationAtZero) {
    logging::log_t log;
    log.lower_indentation();
    const logging::log_scope scope(log);
    EXPECT_EQ(log.indentation(), 1u);
    EXPECT_EQ(logging::default_log()->indentation(), 0u) << "each log has its own";
}

TEST(Log, DropsWithoutReceiverAndWhileSuppressed) {
    logging::log_t log;
    const auto memory = std::make_shared<logging::receiver::memory_receiver_t>();
    log.write(2, 0, nullptr, "dropped");
    EXPECT_EQ(log.set_receiver(memory), nullptr);
    log.set_suppressed(true);
    log.write(2, 0, nullptr, "dropped");
    log.set_suppressed(false);
    EXPECT_EQ(memory->text(), "");
    log.write(2, 0, nullptr, "kept");
    EXPECT_NE(memory->text().find("> kept\r\n"), std::string::npos);
    log.write(3, 0, std::make_shared<logging::format::line_format_t>("|a|"), "told");
    EXPECT_NE(memory->text().find("> |a|WARN|told\r\n"), std::string::npos);
    EXPECT_EQ(log.set_receiver(nullptr), memory);
}

// A receiver whose first write fails, and whose second one writes to the log itself.
struct awkward_receiver_t : logging::receiver::memory_receiver_t {
    void write(std::string_view lines) override {
        if (++calls == 1)
            throw std::runtime_error("disk full");
        if (calls == 2)
            log.write(2, 0, nullptr, "inner");
        memory_receiver_t::write(lines.substr(lines.size() - 7));
    }
    explicit awkward_receiver_t(logging::log_t& to) : log(to) {}

    logging::log_t& log;
    int calls = 0;
};

TEST(Log, SwallowsTheReceiversFailureAndLetsItWriteAgain) {
    logging::log_t log;
    const auto receiver = std::make_shared<awkward_receiver_t>(log);
    log.set_receiver(receiver);
    log.write(2, 0, nullptr, "lost");
    log.write(2, 0, nullptr, "one call\nouter");
    EXPECT_EQ(receiver->text(), "inner\r\nouter\r\n") << "the outer text outlives the inner message";
}

TEST(Log, LinesOfOneMessageStayTogetherAlsoWhileReceiversChange) {
    logging::log_t log;
    std::shared_ptr<logging::receiver::memory_receiver_t> receivers[2];
    for (auto& receiver : receivers)
        log.set_receiver(receiver = std::make_shared<logging::receiver::memory_receiver_t>());
    {
        std::jthread threads[4];
        for (std::jthread& thread : threads) {
            thread = std::jthread([&] {
                for (int i = 0; i < 500; ++i) {
                    log.write(3, 0, nullptr, "one\ntwo");
                    log.set_receiver(receivers[i % 2]);
                }
            });
        }
    }
    const std::vector<std::string> texts = texts_of(receivers[0]->text() + receivers[1]->text());
    ASSERT_EQ(texts.size(), 4000u);
    for (std::size_t i = 0; i < texts.size(); ++i)
        ASSERT_EQ(texts[i], i % 2 == 0 ? "WARN|one" : ">>  |two");
}

TEST(Log, AsTheProcessEndsDoesNotWaitForAThreadThatEndedInside) { EXPECT_EQ(child_role("end").exit_code(), 5u); }

}  // namespace
