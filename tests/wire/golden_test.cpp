#include <gtest/gtest.h>

#include "tests/wire/golden_rows.h"
#include "tests/wire/live_blocks.h"

namespace {

TEST(GoldenBytes, OfEveryProcedureAreExactlyThese) {
    std::size_t count = 0;
    for (const wire::table_t& table : wire::golden_tables()) {
        const wire::row_t* current = nullptr;
        wire::peer peer({wire::behaviour_t{.reply = [&](const wire::request_t& request, std::uint32_t call_id) {
            return wire::response_pdus(call_id, wire::golden_reply(*current, request));
        }}});
        const auto client = table.make_client(win::rpc::rpc_functions_t::real());
        client->SetEndpoint(L"127.0.0.1", peer.port());
        client->SetAccount(L"LAB", L"user", L"secret");
        for (const wire::row_t& row : table.rows) {
            SCOPED_TRACE(std::string(table.name) + ": " + row.name);
            current = &row;
            peer.forget();
            ASSERT_NO_THROW(row.run(*client));
            ASSERT_FALSE(peer.requests().empty());
            EXPECT_EQ(peer.requests().back().operation, row.operation);
            std::string difference;
            EXPECT_TRUE(wire::matches(peer.last_stub(), row.request, difference)) << difference;
            EXPECT_EQ(wire::live_blocks(), 0) << "all that the reply brought is freed with its command";
            ++count;
        }
    }
    std::printf("%zu requests and replies pinned\n", count);
}

}  // namespace
