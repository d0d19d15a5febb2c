// Replies that a broken or hostile service sends: golden replies, mutated. Whatever comes, a call ends in outputs or in an
// error, and nothing of ours crashes, hangs or leaks. KORVA_HOSTILE_REPLIES sets how many (default 3,000; scripts/hostile.sh
// plays 100,000).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <optional>
#include <random>

#include "tests/watched_memory.h"
#include "tests/wire/golden_rows.h"

namespace {

using random_t = std::mt19937;

std::size_t below(random_t& random, std::size_t limit) { return random() % limit; }

// Counts that lie, pointers without referents and referents without pointers, strings without ends, replies cut short or
// followed by more.
wire::bytes mutated(wire::bytes stub, random_t& random) {
    static constexpr std::uint32_t values[] = {0,       1,          2,          3,          0x7F,       0xFFFF,
                                               0x10000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0xFFFFFFFE, 0x00020000};
    for (std::size_t round = 1 + below(random, 3); round > 0; --round) {
        const std::size_t at = below(random, stub.size() + 1), field = at / 4 * 4;
        switch (below(random, 6)) {
            case 0:
                stub.resize(at);
                break;
            case 1:
                std::generate_n(std::back_inserter(stub), below(random, 64), std::ref(random));
                break;
            case 2:
                if (at < stub.size())
                    stub[at] ^= static_cast<std::uint8_t>(1u << below(random, 8));
                break;
            default:  // counts, offsets, referents
                if (field + 4 <= stub.size())
                    std::memcpy(&stub[field], &values[below(random, std::size(values))], 4);
        }
    }
    return stub;
}

// In the header of the answer's first fragment, or of a fault in its place: lengths, flags, kind, data representation, hint.
struct header_change_t {
    bool fault;
    std::size_t at;
    std::uint8_t value;

    wire::bytes operator()(std::uint32_t call_id, wire::bytes pdus) const {
        if (fault)
            pdus = wire::fault(call_id, 5);
        pdus[at] = value;
        return pdus;
    }
};

// Wine's own unmarshalling reads through pointers that it did not check: a fault inside rpcrt4.dll is counted apart and made
// into the status that the runtime should have raised. A fault anywhere else stays one.
unsigned platform_faults = 0;

LONG CALLBACK on_exception(EXCEPTION_POINTERS* exception) {
    EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    if (record.ExceptionCode != EXCEPTION_ACCESS_VIOLATION)
        return EXCEPTION_CONTINUE_SEARCH;
    HMODULE module = nullptr;
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                         static_cast<const wchar_t*>(record.ExceptionAddress), &module);
    if (module != ::GetModuleHandleW(L"rpcrt4.dll"))
        return EXCEPTION_CONTINUE_SEARCH;
    ++platform_faults;
    record.ExceptionCode = RPC_X_BAD_STUB_DATA;
    record.NumberParameters = 0;
    return EXCEPTION_CONTINUE_SEARCH;
}

struct exception_handler_t {
    void* const handler = ::AddVectoredExceptionHandler(1, on_exception);
    ~exception_handler_t() { ::RemoveVectoredExceptionHandler(handler); }
};

TEST(HostileReplies, EndInOutputsOrErrors) {
    const char* const setting = std::getenv("KORVA_HOSTILE_REPLIES");
    const std::size_t wanted = setting ? std::strtoul(setting, nullptr, 10) : 3000;
    const exception_handler_t handler;
    random_t random(20131103);
    std::size_t played = 0, outputs = 0, errors = 0, headers = 0;

    wire::bytes reply;
    std::optional<header_change_t> header;
    const wire::row_t* current = nullptr;
    const auto answer = [&](const wire::request_t& request, std::uint32_t call_id) {
        const bool is_row = request.operation == current->operation;
        wire::bytes pdus = wire::response_pdus(call_id, is_row ? reply : wire::golden_reply(*current, request));
        return is_row && header ? (*header)(call_id, std::move(pdus)) : pdus;
    };
    wire::peer peer;
    while (played < wanted) {
        for (const wire::table_t& table : wire::golden_tables()) {
            const auto client = wire::client_of(table, peer.port());
            client->retry_policy().limit = 0;
            client->Connect(false);
            for (std::size_t i = 0; i < 5 * table.rows.size(); ++i, ++played) {
                const wire::row_t& row = table.rows[i / 5];
                current = &row;
                reply = mutated(wire::parse(row.reply), random);
                // Seldom, for the connection ends behind it: whoever waits for the rest of a lying length would wait for ever.
                header.reset();
                if (below(random, 32) == 0)
                    header = {below(random, 4) == 0, below(random, wire::header_size + 8), static_cast<std::uint8_t>(random())};
                headers += header.has_value();
                peer.play({.end = header ? wire::behaviour_t::end_t::closed_after_reply : wire::behaviour_t::end_t::open,
                           .reply = answer,
                           .keep_requests = false});
                const unsigned faults_before = platform_faults;
                const long blocks_before = watched_memory::live_blocks();
                try {
                    ++(row.run(*client).find("error") == std::string::npos ? outputs : errors);
                } catch (const std::bad_alloc&) {
                    ++errors;  // what a lying count may come to
                }
                if (platform_faults == faults_before) {
                    ASSERT_EQ(watched_memory::live_blocks(), blocks_before) << row.line << ", reply " << wire::hex(reply);
                }
            }
        }
    }

    EXPECT_GT(errors, played / 10) << "the mutations bite";
    EXPECT_GT(outputs, played / 100) << "and some leave a reply that can be read";
    std::printf(
        "%zu hostile replies, %zu with another header: %zu outputs, %zu errors, of these %u by a fault of the platform's own "
        "rpcrt4\n",
        played, headers, outputs, errors, platform_faults);
}

}  // namespace
