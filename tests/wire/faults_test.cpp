// What the connection makes of each thing a network or a service can do to a call: how many bindings, attempts and waits, the
// error that comes out, and that the next call on the same client works.
#include <gtest/gtest.h>

#include "foundation/errors.h"
#include "foundation/system_text.h"
#include "rpc/client.h"
#include "rpc/commands/invoker.h"
#include "tests/wire/peer.h"

namespace {

using bind_t = wire::behaviour_t::bind_t;

const wire::bytes good_reply = wire::parse("PTR S'<o/>' .... 01 ...... 00000000");

wire::behaviour_t at_bind(bind_t what, std::uint16_t reason = 0) {
    wire::behaviour_t behaviour;
    behaviour.on_bind = what;
    behaviour.bind_reason = reason;
    return behaviour;
}

wire::behaviour_t resetting_before_request() {
    wire::behaviour_t behaviour;
    behaviour.reset_after_bind_ack = true;
    return behaviour;
}

wire::behaviour_t closing_in_the_middle_of_a_reply() {
    wire::behaviour_t behaviour;
    behaviour.reply = [](const wire::request_t&, std::uint32_t call_id) {
        wire::bytes pdu = wire::response_pdus(call_id, good_reply);
        pdu.resize(pdu.size() / 2);
        return pdu;
    };
    behaviour.reset_after_reply = true;
    return behaviour;
}

wire::behaviour_t of_another_type() {
    wire::behaviour_t behaviour;
    behaviour.reply = [](const wire::request_t&, std::uint32_t call_id) {
        return wire::make_pdu(wire::pdu_type::bind_ack, wire::first_fragment | wire::last_fragment, call_id, {});
    };
    behaviour.reset_after_reply = true;
    return behaviour;
}

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
    {"reset before the bind", at_bind(bind_t::reset_at_accept), 1726, one, all, 11, false},
    {"reset in the bind", at_bind(bind_t::reset_after_bind), 1726, one, all, 11, false},
    {"reset after the bind", resetting_before_request(), 1726, one, all, 11, false},
    {"reset after the request", wire::resetting_after_request(), 1726, one, all, 11, true},
    {"closed in the middle of a reply", closing_in_the_middle_of_a_reply(), 1726, one, all, 11, true},
    {"bind refused, congestion", at_bind(bind_t::refuse, 1), 1723, one, 1, 0, false},
    {"bind refused, limit", at_bind(bind_t::refuse, 2), 1723, one, 1, 0, false},
    {"unknown interface", at_bind(bind_t::reject_context, 1), 1717, one, 1, 0, false},
    {"reply stub cut short", wire::replying(wire::parse("PTR 0500")), 1783, one, 1, 0, true},
    {"no reply stub", wire::replying({}), 1783, one, 1, 0, true},
    {"garbage for a reply", wire::sending(wire::bytes(64, 0xCC)), 1728, one, 1, 0, true},
    {"garbage for a bind answer", at_bind(bind_t::garbage), 1728, one, 1, 0, false},
    {"a PDU of another type", of_another_type(), 1728, one, 1, 0, true},
    {"fault: context mismatch", wire::faulting(0x1C00001A), 6, two, all, 10, true},
    {"fault 6", wire::faulting(6), 6, two, all, 10, true},
    {"fault 1722", wire::faulting(1722), 1722, two, all, 10, true},
    {"fault 1753", wire::faulting(1753), 1753, two, all, 10, true},
    {"fault 1726", wire::faulting(1726), 1726, one, all, 11, true},
    {"fault 1727", wire::faulting(1727), 1727, one, all, 11, true},
    {"fault 5", wire::faulting(5), 5, one, 1, 0, true},
    {"fault: operation out of range", wire::faulting(0x1C010002), 1745, one, 1, 0, true},
    {"fault: an access violation's code", wire::faulting(0xC0000005), 0xC0000005, one, 1, 0, true},
    {"fault: a C++ exception's code", wire::faulting(0x20474343), 0x20474343, one, 1, 0, true},
    {"fault: a Visual C++ exception's code", wire::faulting(0xE06D7363), 0xE06D7363, one, 1, 0, true},
};

struct counters_t {
    unsigned bindings = 0, waits = 0;
};

std::shared_ptr<win::rpc::CRpcClientBase> counted_client(counters_t& counters) {
    auto functions = win::rpc::rpc_functions_t::real();
    functions.binding_from_string_binding = [&counters, real = functions.binding_from_string_binding](
                                                RPC_CSTR text, RPC_BINDING_HANDLE* binding) {
        ++counters.bindings;
        return real(text, binding);
    };
    const auto client = win::rpc::make_invoker_client(std::move(functions));
    client->retry_policy().wait = [&counters](std::uint32_t) { ++counters.waits; };
    client->SetAccount(L"LAB", L"user", L"secret");
    return client;
}

// Counts the attempts of the command that it stands for.
class counting_command : public win::rpc::CDoRpcMethod {
public:
    counting_command() : CDoRpcMethod(L"cmd", L"<i/>") {}
    void Execute(win::rpc::binding_t binding) override {
        ++attempts;
        CDoRpcMethod::Execute(binding);
    }
    unsigned attempts = 0;
};

std::string failure_of(win::rpc::CRpcClientBase& client, counting_command& command) {
    try {
        client.Call(command);
    } catch (const exc::runtime_exc_t& error) {
        return error.what();
    }
    return "no failure";
}

std::string expected_text(std::uint32_t status) {
    return "RPC function call failed. Function name: [DoRpc]. Target machine: [127.0.0.1].\n" + exc::system_error_text(status);
}

TEST(ConnectionFaults, AreMetByTheRules) {
    for (const row_t& row : rows) {
        SCOPED_TRACE(row.name);
        wire::peer peer({row.behaviour});
        counters_t counters;
        const auto client = counted_client(counters);
        client->SetEndpoint(L"127.0.0.1", peer.port());
        client->Connect(false);

        counting_command command;
        EXPECT_EQ(failure_of(*client, command), expected_text(row.status));
        EXPECT_EQ(counters.bindings, row.bindings);
        EXPECT_EQ(command.attempts, row.attempts);
        EXPECT_EQ(counters.waits, row.waits);
        EXPECT_EQ(peer.requests().size(), row.reaches_service ? row.attempts : 0u) << "what the service ran";

        peer.play({wire::replying(good_reply)});
        counting_command next;
        ASSERT_NO_THROW(client->Call(next)) << "the next call on the same client";
        EXPECT_EQ(next.output_xml(), L"<o/>");
    }
    std::printf("%zu faults played\n", std::size(rows));
}

TEST(ConnectionFaults, AClosedPortCostsOneReconnectAndAllAttempts) {
    counters_t counters;
    const auto client = counted_client(counters);
    std::uint16_t port = 0;
    {
        const wire::peer gone;
        port = gone.port();
    }
    client->SetEndpoint(L"127.0.0.1", port);
    counting_command unconnected;
    EXPECT_EQ(failure_of(*client, unconnected), expected_text(1722));
    EXPECT_EQ(counters.bindings, 1u) << "a call that had to connect first never reconnects";
    EXPECT_EQ(unconnected.attempts, 12u);
    EXPECT_EQ(counters.waits, 11u);

    counters = {};
    counting_command connected;
    EXPECT_EQ(failure_of(*client, connected), expected_text(1722));
    EXPECT_EQ(counters.bindings, 1u);
    EXPECT_EQ(connected.attempts, 12u);
    EXPECT_EQ(counters.waits, 10u) << "the repeat after the reconnect does not wait";
}

TEST(ConnectionFaults, AnOutageEndsWhenTheServiceIsBack) {
    wire::peer peer({at_bind(bind_t::reset_at_accept), resetting_before_request(), wire::resetting_after_request(),
                     wire::replying(good_reply)});
    counters_t counters;
    const auto client = counted_client(counters);
    client->SetEndpoint(L"127.0.0.1", peer.port());
    client->Connect(false);
    counting_command command;
    ASSERT_NO_THROW(client->Call(command));
    EXPECT_EQ(command.output_xml(), L"<o/>");
    EXPECT_EQ(command.attempts, 4u);
    EXPECT_EQ(counters.waits, 3u);
}

}  // namespace
