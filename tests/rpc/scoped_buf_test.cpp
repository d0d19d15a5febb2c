#include "rpc/scoped_buf.h"

#include <rpc.h>
#include <rpcndr.h>

#include <gtest/gtest.h>

#include <cstring>

#include "logging/memory_receiver.h"
#include "tests/watched_memory.h"

namespace {

TEST(RpcBuffer, KnowsItsDataWithoutTheRuntimesNode) {
    using namespace win::rpc;
    EXPECT_EQ(rpc_buffer_size(nullptr), 0u);
    auto* block = static_cast<char*>(::MIDL_user_allocate(32 + 24));
    const CRpcScopedBuf<char> owner(block);
    EXPECT_EQ(owner.bytes(), 56u);
    std::memcpy(block + 32, "LMEM", 4);
    EXPECT_EQ(owner.bytes(), 32u);

    const CRpcScopedBuf<wchar_t> endless(static_cast<wchar_t*>(::MIDL_user_allocate(6)));
    std::wmemset(endless.get(), L'x', 3);
    EXPECT_EQ(text_of(endless.get()), L"xxx") << "a string is not read beyond its block";
}

TEST(RpcBuffer, StartsZeroedAlsoWhereTheHeapHadUsedIt) {
    const std::string used(600, '\xFF'), zero(600, '\0');
    void* const first = ::MIDL_user_allocate(used.size());
    std::memcpy(first, used.data(), used.size());
    ::MIDL_user_free(first);
    const win::rpc::CRpcScopedBuf<char> again(static_cast<char*>(::MIDL_user_allocate(used.size())));
    EXPECT_EQ(std::string(again.get(), used.size()), zero);
}

TEST(RpcBuffer, AFreeThatFailsIsLoggedAndNoError) {
    const logging::captured_log_t log;
    void* const block = ::MIDL_user_allocate(8);
    watched_memory::fail_free(block);
    win::rpc::CRpcScopedBuf<char>(static_cast<char*>(block)).reset();
    EXPECT_TRUE(log.holds("A buffer of a remote reply cannot be freed. Status: [0x000006E6]."));
    ::MIDL_user_free(block);
}

}  // namespace
