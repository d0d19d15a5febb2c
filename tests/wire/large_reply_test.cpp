// A reply of many megabytes, in some thousand fragments: what the lab cannot send where Wine runs it (lab/serve.cpp).
#include <gtest/gtest.h>

#include "com/co_hv_vss_snapshot.h"
#include "com/conversions.h"
#include "com/create_internal.h"
#include "com/module.h"
#include "foundation/convert.h"
#include "logging/memory_receiver.h"
#include "tests/foundation/com_thread.h"
#include "tests/wire/peer.h"

namespace {

constexpr int count = 100'000;

std::wstring path(int number) {
    return LR"(\\?\GLOBALROOT\Device\HarddiskVolumeShadowCopy7\машина\диск)" + std::to_wstring(number);
}

class LargeReply : public com_thread {};

TEST_F(LargeReply, AListOf100000FilesComesBackWhole) {
    constexpr std::uint16_t get_info = 2;
    std::wstring list = L"<FilesList>";  // a form's text holds no blank
    for (int i = 0; i < count; ++i)
        list += L"<i\tPath=''\tMask=''\tRecursive=''\tRelativePath=''\tFullPath='" + path(i) + L"'/>";
    list += L"</FilesList>";
    const std::string padding = list.size() % 2 == 0 ? " ...." : "";  // of the text with its terminator
    const wire::bytes info = wire::parse("PTR 00000000 00000000 00000000 01 ...... 00000000");
    const wire::bytes files = wire::parse("PTR S'" + text::narrow(list) + "'" + padding + " 01 ...... 00000000");
    wire::peer peer({{.reply = [&](const wire::request_t& request, std::uint32_t call_id) {
        return wire::response_pdus(call_id, request.operation == get_info ? info : files);
    }}});
    const auto client = win::rpc::make_integration_client();
    client->SetEndpoint(L"127.0.0.1", peer.port());
    client->SetAccount(L"LAB", L"user", L"secret");
    const logging::captured_log_t log;
    win::com_ptr<IKorvaHvVssSnapshot> snapshot;
    com::create_internal<com::CCoHvVssSnapshot>(std::make_shared<impl::CKorvaHvVssSnapshot>(client, GUID{}), snapshot.put());

    SAFEARRAY* made = nullptr;
    ASSERT_EQ(snapshot->EnumVmFiles(win::make_bstr(L"web").get(), &made), S_OK);
    const win::unique_safe_array array(made);
    ASSERT_EQ(made->rgsabound[0].cElements, static_cast<ULONG>(count));
    const BSTR* const paths = static_cast<const BSTR*>(made->pvData);
    for (int i = 0; i < count; ++i)
        ASSERT_EQ(win::bstr_view(paths[i]), path(i));
    EXPECT_TRUE(log.holds("Number of VM files: [100000]"));
    EXPECT_TRUE(log.holds(text::narrow(path(count - 1))));
    EXPECT_EQ(peer.requests().size(), 2u) << "nothing was repeated";
    snapshot.reset();
    EXPECT_FALSE(com::module::in_use());
}

}  // namespace
