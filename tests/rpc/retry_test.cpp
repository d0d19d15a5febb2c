#include <gmock/gmock.h>

#include <deque>

#include "foundation/errors.h"
#include "foundation/system_text.h"
#include "logging/memory_receiver.h"
#include "tests/foundation/thrown.h"
#include "tests/rpc/played_platform.h"

namespace {

using namespace win::rpc;
using ::testing::ElementsAre;

// A command whose attempts end as the script says; the last status goes on for ever.
class scripted_t : public IRpcMethod {
public:
    void Execute(binding_t binding) override {
        EXPECT_NE(binding, nullptr);
        if (++attempts > 100)
            throw exc::runtime_exc_t("It has no end.");
        clock += takes;
        const std::uint32_t status = statuses.front();
        if (statuses.size() > 1)
            statuses.pop_front();
        if (status != 0)
            throw exc::rpc_exc_t(status);
    }
    std::string_view GetName() const override { return "Scripted"; }
    void CheckResult() override {}
    bool CanReconnect() const override { return can_reconnect; }
    bool CanRetry() const override { return can_retry; }
    rpc_call_result_t DoCall(binding_t) override { return {}; }

    std::deque<std::uint32_t> statuses;
    int attempts = 0;
    std::uint64_t takes = 0;
    std::uint64_t clock = 0;
    bool can_retry = true, can_reconnect = true;
};

class Retry : public ::testing::Test {
protected:
    void SetUp() override {
        client_->SetEndpoint(L"host", 1);
        client_->retry_policy().tick_count = [this] { return command_.clock; };
        client_->retry_policy().wait = [this](std::uint32_t milliseconds) {
            waits_.push_back(milliseconds);
            command_.clock += milliseconds;
        };
    }
    void TearDown() override {
        client_.reset();
        EXPECT_EQ(platform_.bindings_alive, 0);
        EXPECT_EQ(platform_.strings_alive, 0);
    }
    int connects() const {
        return static_cast<int>(std::ranges::count_if(platform_.calls, [](auto& call) { return call.starts_with("compose"); }));
    }
    // The text of the error that the call ends with, or "nothing".
    std::string call() {
        return thrown_text([this] { client_->Call(command_); });
    }

    played_platform_t platform_;
    scripted_t command_;
    std::vector<std::uint32_t> waits_;
    std::shared_ptr<CRpcClientBase> client_ = make_invoker_client(platform_.table());
};

struct row_t {
    const char* name;
    std::deque<std::uint32_t> statuses;
    int attempts;
    std::size_t waits;
    int connects;               // with the first one
    std::uint32_t failure = 0;  // the status that the call ends with
    bool connected_before = true, can_retry = true, can_reconnect = true;
    std::vector<std::uint32_t> compose_statuses = {};
};

// What each status comes to when it lasts, and calls that go well, are played with real replies, in tests/wire.
const row_t rows[] = {
    {"one reconnect in a call", {1722, 1722, 6, 0}, 4, 2, 2},
    {"1726 leaves the reconnect for later", {1726, 1722, 0}, 3, 1, 2},
    {"out of range, also after a reconnect", {1722, 1745}, 2, 0, 2, 1745},
    {"not repeatable, 1726", {1726}, 1, 0, 1, 1726, true, false},
    {"not repeatable, 1722, yet reconnected", {1722}, 2, 0, 2, 1722, true, false},
    {"not repeatable, 1722, connected by the call", {1722}, 1, 0, 1, 1722, false, false},
    {"not reconnectable", {1722, 0}, 2, 1, 1, 0, true, true, false},
    {"an outage that ends", {1722, 0}, 2, 3, 5, 0, true, true, true, {0, 1722, 1722, 1722, 0}},
};

TEST_F(Retry, EachRowOfTheRules) {
    for (const row_t& row : rows) {
        SCOPED_TRACE(row.name);
        client_ = make_invoker_client(platform_.table());
        SetUp();
        platform_.calls.clear();
        platform_.compose_statuses = row.compose_statuses;
        waits_.clear();
        command_ = scripted_t();
        command_.statuses = row.statuses;
        command_.can_retry = row.can_retry;
        command_.can_reconnect = row.can_reconnect;
        if (row.connected_before)
            client_->Connect(true);
        EXPECT_EQ(call(), row.failure == 0 ? "nothing"
                                           : "RPC function call failed. Function name: [Scripted]. Target machine: [host].\n" +
                                                 exc::system_error_text(row.failure));
        EXPECT_EQ(command_.attempts, row.attempts);
        EXPECT_THAT(waits_, ::testing::SizeIs(row.waits));
        EXPECT_THAT(waits_, ::testing::Each(10000));
        EXPECT_EQ(connects(), row.connects);
    }
}

TEST_F(Retry, ConnectsOnceMoreWhereAnotherThreadsFailedConnectTookTheBinding) {
    client_->Connect(false);
    command_.statuses = {1722, 1722, 0};
    client_->retry_policy().wait = [this](std::uint32_t) {
        platform_.compose_statuses = {1722};
        EXPECT_NE(thrown_text([this] { client_->Connect(false); }), "nothing");
    };
    EXPECT_EQ(call(), "nothing");
    EXPECT_EQ(command_.attempts, 3);
    EXPECT_EQ(connects(), 4);
}

TEST_F(Retry, TheWaitIsTheRestOfTheIntervalFromTheAttemptsStart) {
    for (const auto& [takes, waits] :
         {std::pair<std::uint64_t, std::vector<std::uint32_t>>(4000, {6000}), {9999, {1}}, {10000, {}}, {70000, {}}}) {
        waits_.clear();
        command_.statuses = {1726, 0};
        command_.takes = takes;
        EXPECT_EQ(call(), "nothing");
        EXPECT_EQ(waits_, waits) << takes;
    }
    client_->retry_policy().interval_ms = 50;
    client_->retry_policy().limit = 0;
    command_ = scripted_t();
    command_.statuses = {1727};
    waits_.clear();
    EXPECT_NE(call(), "nothing");
    EXPECT_EQ(command_.attempts, 2);
    EXPECT_THAT(waits_, ElementsAre(50));
}

TEST_F(Retry, AReconnectFreesTheOldBindingFirstAndDropsToConnectLevel) {
    client_->Connect(true);
    platform_.calls.clear();
    command_.statuses = {1722, 0};
    client_->Call(command_);
    ASSERT_GT(platform_.calls.size(), 3u);
    EXPECT_EQ(platform_.calls[0], "free 1");
    EXPECT_EQ(platform_.calls[3], "authenticate 2 as KorvaRpcInvoker/host level 2 service 10 authorisation 0");
}

TEST_F(Retry, WhatIsLogged) {
    client_->Connect(false);
    command_.statuses = {1722, 1726, 0};
    platform_.compose_statuses = {1722, 0};
    logging::captured_log_t log;
    client_->Call(command_);
    const std::string unavailable = exc::system_error_text(1722);
    const std::string connecting =
        "Connecting to RPC port '1', host 'host', service 'KorvaRpcInvoker', secure channel: 'false' .";
    EXPECT_THAT(log.texts(), ElementsAre(connecting, "ERR |RPC client failed to reestablish connection.", ">>  |" + unavailable,
                                         ">>  |Connect failed (RpcStringBindingCompose)",
                                         "RPC client failed to call method. Status: [1722]. " + unavailable, connecting,
                                         "RPC client failed to call method. Status: [1726]. " + exc::system_error_text(1726)));
}

}  // namespace
