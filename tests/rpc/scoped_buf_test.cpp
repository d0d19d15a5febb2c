#include "rpc/scoped_buf.h"

#include <rpc.h>
#include <rpcndr.h>

#include <gtest/gtest.h>

#include <cstring>

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

}  // namespace
