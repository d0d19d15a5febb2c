// What the connection makes of each thing a network or a service can do to a call: how many bindings, attempts and waits, the
// error that comes out, and that the next call on the same client works.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <tuple>

#include "foundation/errors.h"
#include "foundation/fire_com_exc.h"
#include "foundation/system_text.h"
#include "rpc/client.h"
#include "rpc/commands/invoker.h"
#include "tests/wire/golden_rows.h"

namespace {

using end_t = wire::behaviour_t::end_t;
using wire::faulting;

const wire::bytes good_reply = wire::parse("PTR S'<o/>' .... 01 ...... 00000000");

// Instead of a response, what `change` makes of one.
wire::behaviour_t spoiling(void (*change)(wire::bytes& pdu), end_t end = end_t::closed_after_reply) {
    return {.end = end, .reply = [change](const wire::request_t&, std::uint32_t call_id) {
                wire::bytes pdu = wire::response_pdus(call_id, good_reply);
                change(pdu);
                return pdu;
            }};
}

wire::behaviour_t refusing_bind(std::uint16_t reason) {
    return {.refuse_bind = [reason](std::uint32_t call_id) { return wire::bind_nak(call_id, reason); }};
}

wire::behaviour_t rejecting_context(std::uint16_t reason) {
    return {.refuse_bind = [reason](std::uint32_t id) { return wire::bind_ack(wire::pdu_type::bind_ack, id, reason, 2); }};
}

void halve(wire::bytes& pdu) { pdu.resize(pdu.size() / 2); }
void announce_more(wire::bytes& pdu) { pdu[wire::flags_at] = wire::first_fragment; }

struct row_t {
    const char* name;
    wire::behaviour_t behaviour;
    std::uint32_t status;
    unsigned bindings, attempts, waits;
    bool reaches_service;  // every attempt ran there: what a repeat may run twice
};

// One binding is built by Connect. A lost connection builds one more, once, and repeats without a wait; a call that failed is
// repeated on the same binding; all else ends at once.
constexpr unsigned one = 1, two = 2, all = 12;

const row_t rows[] = {
    {"reset before the bind", {.end = end_t::at_accept}, 1726, one, all, 11, false},
    {"reset in the bind", {.end = end_t::at_bind}, 1726, one, all, 11, false},
    {"reset after the bind", {.end = end_t::after_bind}, 1726, one, all, 11, false},
    {"reset after the request", {}, 1726, one, all, 11, true},
    {"closed in the middle of a reply", spoiling(halve), 1726, one, all, 11, true},
    {"reset in the middle of a reply", spoiling(halve, end_t::after_reply), 1726, one, all, 11, true},
    {"closed between two fragments", spoiling(announce_more), 1726, one, all, 11, true},
    {"reset between two fragments", spoiling(announce_more, end_t::after_reply), 1726, one, all, 11, true},
    {"bind refused, congestion", refusing_bind(1), 1723, one, 1, 0, false},
    {"bind refused, limit", refusing_bind(2), 1723, one, 1, 0, false},
    {"unknown interface", rejecting_context(1), 1717, one, 1, 0, false},
    {"reply stub cut short", wire::replying(wire::parse("PTR 0500")), 1783, one, 1, 0, true},
    {"a string that counts more than comes", wire::replying(wire::parse("PTR 40000000 00000000 40000000 61006200")), 1783, one,
     1, 0, true},
    {"no reply stub", wire::replying({}), 1783, one, 1, 0, true},
    {"garbage for a reply", wire::sending(wire::bytes(64, 0xCC)), 1728, one, 1, 0, true},
    {"garbage for a bind answer", wire::sending_at_bind(wire::bytes(64, 0xCC)), 1728, one, 1, 0, false},
    {"a PDU of another type", spoiling([](auto& pdu) { pdu[wire::type_at] = 12; }), 1728, one, 1, 0, true},
    {"a PDU shorter than its header", spoiling([](auto& pdu) { pdu[wire::length_at] = 8; }), 1728, one, 1, 0, true},
    {"a PDU with a verifier beyond its end", spoiling([](auto& pdu) { pdu[wire::auth_length_at] = 200; }), 1728, one, 1, 0,
     true},
    {"fault: no status", faulting(0), 1783, one, 1, 0, true},
    {"fault: context mismatch", faulting(0x1C00001A), 6, two, all, 10, true},
    {"fault 6", faulting(6), 6, two, all, 10, true},
    {"fault 1722", faulting(1722), 1722, two, all, 10, true},
    {"fault 1753", faulting(1753), 1753, two, all, 10, true},
    {"fault 1726", faulting(1726), 1726, one, all, 11, true},
    {"fault 1727", faulting(1727), 1727, one, all, 11, true},
    {"fault: access denied", faulting(5), 5, one, 1, 0, true},
    {"fault: out of memory", faulting(14), 14, one, 1, 0, true},
    {"fault: too busy", faulting(1723), 1723, one, 1, 0, true},
    {"fault: a security package's error", faulting(1825), 1825, one, 1, 0, true},
    {"fault: operation out of range", faulting(0x1C010002), 1745, one, 1, 0, true},
    {"fault: unknown interface", faulting(0x1C010003), 1717, one, 1, 0, true},
    {"fault: protocol error", faulting(0x1C01000B), 1728, one, 1, 0, true},
    {"fault: cancelled", faulting(0x1C00000D), 1818, one, 1, 0, true},
    {"fault: an access violation's code", faulting(0xC0000005), 0xC0000005, one, 1, 0, true},
    {"fault: a stack overflow's code", faulting(0xC00000FD), 0xC00000FD, one, 1, 0, true},
    {"fault: a C++ exception's code", faulting(0x20474343), 0x20474343, one, 1, 0, true},
    {"fault: a Visual C++ exception's code", faulting(0xE06D7363), 0xE06D7363, one, 1, 0, true},
};

// Counts the attempts of the command that it stands for.
class counting_command : public win::rpc::CDoRpcMethod {
public:
    counting_command() : CDoRpcMethod(L"cmd", L"<i/>") {}
    void Execute(win::rpc::binding_t binding) override {
        if (++attempts > 100)
            throw exc::runtime_exc_t("It has no end.");
        CDoRpcMethod::Execute(binding);
    }
    unsigned attempts = 0;
};

using failure_t = std::pair<std::string, std::uint32_t>;  // text and HRESULT

failure_t call_failed(std::uint32_t status) {
    return {"RPC function call failed. Function name: [DoRpc]. Target machine: [127.0.0.1].\n" + exc::system_error_text(status),
            0x80020009};
}

class ConnectionFaults : public ::testing::Test {
protected:
    ConnectionFaults() {
        auto functions = win::rpc::rpc_functions_t::real();
        functions.binding_from_string_binding = [this, real = functions.binding_from_string_binding](RPC_CSTR text,
                                                                                                     auto* binding) {
            ++bindings_;
            return real(text, binding);
        };
        client_ = win::rpc::make_invoker_client(std::move(functions));
        client_->retry_policy().wait = [this](std::uint32_t milliseconds) {
            ++waits_;
            EXPECT_TRUE(milliseconds > 0 && milliseconds <= 10'000) << milliseconds;
        };
        client_->SetAccount(L"LAB", L"user", L"secret");
    }

    // The next call ends so (an empty failure: well), with so many bindings (since the last call), attempts and waits.
    using counts_t = std::tuple<unsigned, unsigned, unsigned>;
    void expect_call(const failure_t& failure, const counts_t& counts) {
        counting_command command;
        failure_t met;
        try {
            client_->Call(command);
            EXPECT_EQ(command.output_xml(), L"<o/>");
        } catch (const exc::exc_base_t& error) {
            met = {error.what(), static_cast<std::uint32_t>(exc::CFireComExcMixin::fire_com_exc(error, IID{}))};
        }
        EXPECT_EQ(met, failure);
        EXPECT_EQ(counts_t(std::exchange(bindings_, 0), command.attempts, std::exchange(waits_, 0)), counts);
        played_ += command.attempts > 1 || failure.second != 0;
    }
    void expect_success(const counts_t& counts = {0, 1, 0}) { expect_call({}, counts); }
    static void TearDownTestSuite() { std::printf("%u faults played\n", played_); }

    std::shared_ptr<win::rpc::CRpcClientBase> client_;
    unsigned bindings_ = 0, waits_ = 0;
    static inline unsigned played_ = 0;
};

TEST_F(ConnectionFaults, AreMetByTheRules) {
    for (const row_t& row : rows) {
        SCOPED_TRACE(row.name);
        wire::peer peer({row.behaviour});
        client_->SetEndpoint(L"127.0.0.1", peer.port());
        client_->Connect(false);
        expect_call(call_failed(row.status), {row.bindings, row.attempts, row.waits});
        EXPECT_EQ(peer.requests().size(), row.reaches_service ? row.attempts : 0u) << "what the service ran";
        peer.play(wire::replying(good_reply));
        expect_success();
    }
}

// What the service ran of a call whose reply is lost, or that it was not there for.
TEST_F(ConnectionFaults, RunACommandAgainWhereItMayBe) {
    const auto services = wire::golden_tables();
    const struct {
        const wire::table_t& service;
        std::string command;
        wire::behaviour_t behaviour;
        int executions;
    } calls[] = {
        {services[2], "InvokerTestConnection", {}, 1},
        {services[2], "InvokerTestConnection", faulting(1722), 2},
        {services[0], "FcWriteFile", {}, all},
        {services[0], "FcCloseFile", {}, all},
    };
    for (const auto& [service, command, behaviour, executions] : calls) {
        SCOPED_TRACE(command);
        const auto row = std::ranges::find_if(service.rows, [&](auto& r) { return r.line.starts_with(command); });
        bool good = false;
        wire::peer peer({{.reply = [&](const wire::request_t& request, std::uint32_t call_id) {
            if (good || request.operation != row->operation)
                return wire::response_pdus(call_id, wire::golden_reply(*row, request));
            return behaviour.reply ? behaviour.reply(request, call_id) : wire::bytes();
        }}});
        const auto client = wire::client_of(service, peer.port());
        client->Connect(false);
        EXPECT_NE(row->run(*client).find("RPC function call failed."), std::string::npos);
        EXPECT_EQ(std::ranges::count(peer.requests(), row->operation, &wire::request_t::operation), executions);
        good = true;
        EXPECT_EQ(row->run(*client), row->outputs);
        ++played_;
    }
}

TEST_F(ConnectionFaults, AClosedPortCostsOneReconnectAndAllAttempts) {
    client_->SetEndpoint(L"127.0.0.1", wire::peer().port());
    expect_call(call_failed(1722), {1, 12, 11});  // a call that had to connect first never reconnects
    expect_call(call_failed(1722), {1, 12, 10});  // the repeat after the reconnect does not wait
    const wire::peer service({wire::replying(good_reply)});
    client_->SetEndpoint(L"127.0.0.1", service.port());
    expect_success({1, 2, 0});  // the first on the old binding
}

TEST_F(ConnectionFaults, PortZeroWithAMapperThatKnowsNothing) {
    constexpr std::uint16_t well_known_port = 135;
    // No tower: a context handle, the counts of an empty array for the four that were asked for, not registered.
    const auto knows_nothing =
        wire::replying(wire::parse("........................................ 00000000"
                                   "04000000 00000000 00000000 d6a0c916"));
    std::optional<wire::peer> mapper;
    try {
        mapper.emplace(std::vector{knows_nothing}, well_known_port);
    } catch (const std::runtime_error&) {
        GTEST_SKIP() << "TCP port 135 is not to be had on this machine.";
    }
    client_->SetEndpoint(L"127.0.0.1", 0);
    // The mapper's own status (docs/wine.md).
    const failure_t not_registered(exc::system_error_text(0x16C9A0D6) + "\nConnect failed (RpcEpResolveBinding)", 0x8007A0D6);
    expect_call(not_registered, {1, 0, 0});
    ASSERT_FALSE(mapper->requests().empty());
    EXPECT_EQ(mapper->requests().back().operation, 3) << "ept_map";

    wire::peer service({faulting(1722)});
    client_->SetEndpoint(L"127.0.0.1", service.port());
    client_->Connect(false);
    client_->SetEndpoint(L"127.0.0.1", 0);
    expect_call(call_failed(6), {13, 1, 11});  // every reconnect fails, and the call lives through it

    service.play(wire::replying(good_reply));
    client_->SetEndpoint(L"127.0.0.1", service.port());
    expect_success({1, 1, 0});
}

TEST_F(ConnectionFaults, AnOutageEndsWhenTheServiceIsBack) {
    // Not after_bind: Wine may meet that reset so late that it opens another connection for the same attempt.
    wire::peer peer({{.end = end_t::at_accept}, {.end = end_t::at_bind}, {}, wire::replying(good_reply)});
    client_->SetEndpoint(L"127.0.0.1", peer.port());
    client_->Connect(false);
    expect_success({1, 4, 3});
}

}  // namespace
