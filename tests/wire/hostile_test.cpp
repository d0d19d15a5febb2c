// Replies that a broken or hostile service sends: golden replies, mutated. Whatever comes, a call ends in outputs or in an
// error, and nothing of ours crashes, hangs or leaks. KORVA_HOSTILE_REPLIES sets how many (default 3,000; a release is checked
// with 100,000).
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <random>

#include "foundation/errors.h"
#include "tests/wire/golden_rows.h"
#include "tests/wire/live_blocks.h"

namespace {

using random_t = std::mt19937;

std::uint32_t below(random_t& random, std::size_t limit) { return static_cast<std::uint32_t>(random() % limit); }

// Counts that lie, pointers without referents and referents without pointers, strings without ends, replies cut short or
// followed by more.
wire::bytes mutated(wire::bytes stub, random_t& random) {
    static constexpr std::array<std::uint32_t, 12> values = {
        0, 1, 2, 3, 0x7F, 0xFFFF, 0x10000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0xFFFFFFFE, 0x00020000};
    for (std::uint32_t round = 1 + below(random, 3); round > 0; --round) {
        switch (below(random, 6)) {
            case 0:  // an aligned 32-bit field: counts, offsets, referents
            case 1:
            case 2:
                if (stub.size() >= 4) {
                    const std::size_t at = below(random, stub.size() / 4) * 4;
                    const std::uint32_t value = values[below(random, values.size())];
                    for (std::size_t i = 0; i < 4; ++i)
                        stub[at + i] = static_cast<std::uint8_t>(value >> (8 * i));
                }
                break;
            case 3:
                if (!stub.empty())
                    stub[below(random, stub.size())] ^= static_cast<std::uint8_t>(1u << below(random, 8));
                break;
            case 4:
                stub.resize(below(random, stub.size() + 1));
                break;
            default:
                for (std::uint32_t extra = below(random, 64); extra > 0; --extra)
                    stub.push_back(static_cast<std::uint8_t>(random()));
                break;
        }
    }
    return stub;
}

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

TEST(HostileReplies, EndInOutputsOrErrors) {
    const char* const setting = std::getenv("KORVA_HOSTILE_REPLIES");
    const std::size_t wanted = setting ? std::strtoul(setting, nullptr, 10) : 3000;
    void* const handler = ::AddVectoredExceptionHandler(1, on_exception);
    random_t random(20131103);
    std::size_t played = 0, outputs = 0, errors = 0;

    wire::bytes reply;
    const wire::row_t* current = nullptr;
    wire::peer peer({wire::behaviour_t{.reply = [&](const wire::request_t& request, std::uint32_t call_id) {
        const bool is_row = request.operation == current->operation;
        return wire::response_pdus(call_id, is_row ? reply : wire::golden_reply(*current, request));
    }}});
    while (played < wanted) {
        for (const wire::table_t& table : wire::golden_tables()) {
            const auto client = table.make_client(win::rpc::rpc_functions_t::real());
            client->retry_policy().wait = [](std::uint32_t) {};
            client->SetEndpoint(L"127.0.0.1", peer.port());
            client->SetAccount(L"LAB", L"user", L"secret");
            for (const wire::row_t& row : table.rows) {
                for (int round = 0; round < 5; ++round, ++played) {
                    current = &row;
                    reply = mutated(wire::parse(row.reply), random);
                    const unsigned faults_before = platform_faults;
                    const long blocks_before = wire::live_blocks();
                    try {
                        // What a row expects of its outputs does not hold here.
                        testing::TestPartResultArray ignored;
                        const testing::ScopedFakeTestPartResultReporter reporter(&ignored);
                        row.run(*client);
                        ++outputs;
                    } catch (const exc::exc_base_t&) {
                        ++errors;
                    } catch (const std::bad_alloc&) {
                        ++errors;
                    }
                    if (platform_faults == faults_before) {
                        ASSERT_EQ(wire::live_blocks(), blocks_before) << row.name << ", reply " << wire::hex(reply);
                    }
                }
            }
        }
    }
    ::RemoveVectoredExceptionHandler(handler);

    EXPECT_GT(errors, played / 10) << "the mutations bite";
    EXPECT_GT(outputs, played / 100) << "and some leave a reply that can be read";
    std::printf("%zu hostile replies: %zu outputs, %zu errors, of these %u by a fault of the platform's own rpcrt4\n", played,
                outputs, errors, platform_faults);
}

}  // namespace
