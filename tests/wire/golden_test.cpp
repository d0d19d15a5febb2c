#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "tests/watched_memory.h"
#include "tests/wire/golden_rows.h"

namespace {

TEST(GoldenBytes, OfEveryProcedureAreExactlyThese) {
    std::size_t count = 0;
    std::set<std::pair<win::rpc::service_t, std::uint32_t>> pinned;
    for (const wire::table_t& table : wire::golden_tables()) {
        const wire::row_t* current = nullptr;
        wire::peer peer({{.reply = [&](const wire::request_t& request, std::uint32_t call_id) {
            return wire::response_pdus(call_id, wire::golden_reply(*current, request));
        }}});
        const auto client = wire::client_of(table, peer.port());
        for (const wire::row_t& row : table.rows) {
            SCOPED_TRACE(row.line);
            current = &row;
            const std::size_t before = peer.requests().size();
            const long blocks_before = watched_memory::live_stub_blocks();
            EXPECT_EQ(row.run(*client), row.outputs);
            const auto requests = peer.requests();
            ASSERT_GT(requests.size(), before);
            const wire::request_t& request = requests.back();
            EXPECT_EQ(wire::hex(request.syntaxes), wire::hex(table.syntaxes));
            const auto sent = std::span(requests).subspan(before);
            EXPECT_EQ(std::ranges::count(sent, row.operation, &wire::request_t::operation), 1) << "sent once";
            EXPECT_EQ(wire::hex(wire::with_our_referents(request.stub, row.request)), wire::hex(wire::parse(row.request)));
            EXPECT_EQ(watched_memory::live_stub_blocks(), blocks_before)
                << "all that the reply brought is freed with its command";
            pinned.emplace(table.service, request.operation);
            ++count;
        }
    }
    for (const win::rpc::command_t& command : win::rpc::catalogue)
        EXPECT_TRUE(pinned.contains({command.service, command.operation})) << command.name << " has no row";
    EXPECT_EQ(count, 75u) << "a row more or less: several belong to one procedure";
    std::printf("%zu requests and replies of %zu procedures pinned\n", count, pinned.size());
}

}  // namespace
