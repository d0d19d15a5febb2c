#include "com/conversions.h"

#include <gmock/gmock.h>

#include <vector>

#include "foundation/errors.h"

namespace {

using ::testing::ElementsAreArray;

win::unique_safe_array array_of(VARTYPE type, std::vector<ULONG> sizes) {
    std::vector<SAFEARRAYBOUND> bounds;
    for (const ULONG size : sizes)
        bounds.push_back({size, 5});  // the lowest index is the caller's business
    return win::unique_safe_array(::SafeArrayCreate(type, static_cast<UINT>(bounds.size()), bounds.data()));
}

TEST(Conversions, ReadABlockOfBytes) {
    EXPECT_TRUE(com::safe_array_bytes(nullptr).bytes().empty());
    EXPECT_TRUE(com::safe_array_bytes(array_of(VT_UI1, {0}).get()).bytes().empty());

    const auto array = array_of(VT_UI1, {3});
    for (LONG i = 5; i < 8; ++i) {
        unsigned char byte = static_cast<unsigned char>(i * 30);
        ASSERT_EQ(::SafeArrayPutElement(array.get(), &i, &byte), S_OK);
    }
    {
        const com::safe_array_bytes block(array.get());
        EXPECT_THAT(block.bytes(), ElementsAreArray({150, 180, 210}));
        EXPECT_EQ(::SafeArrayDestroyData(array.get()), DISP_E_ARRAYISLOCKED);
    }
    EXPECT_EQ(array.get()->cLocks, 0u);
}

TEST(Conversions, RefuseWhatIsNoBlockOfBytes) {
    struct {
        VARTYPE type;
        std::vector<ULONG> sizes;
    } const rows[] = {{VT_I1, {2}}, {VT_I4, {2}}, {VT_BSTR, {2}}, {VT_VARIANT, {2}}, {VT_UI1, {2, 2}}, {VT_UI1, {0, 0}}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.type);
        const auto array = array_of(row.type, row.sizes);
        try {
            com::safe_array_bytes block(array.get());
            ADD_FAILURE() << "accepted";
        } catch (const exc::win_sys_exc_t& error) {
            EXPECT_EQ(error.code(), 0x80020005u);
        }
        EXPECT_EQ(array.get()->cLocks, 0u);
    }
}

TEST(Conversions, MakeArraysThatReadBackTheSame) {
    const std::vector<unsigned char> bytes = {0, 255, 1};
    const auto block = com::to_safe_array(bytes);
    EXPECT_THAT(com::safe_array_bytes(block.get()).bytes(), ElementsAreArray(bytes));
    EXPECT_TRUE(com::safe_array_bytes(com::to_safe_array(std::span<const unsigned char>()).get()).bytes().empty());

    const std::vector<std::wstring> texts = {L"C:\\a", L"", L"\x416\xD83D\xDE00"};
    const auto list = com::to_safe_array(texts);
    VARTYPE type = VT_EMPTY;
    LONG last = 0;
    EXPECT_EQ(::SafeArrayGetVartype(list.get(), &type), S_OK);
    EXPECT_EQ(type, VT_BSTR);
    ASSERT_EQ(::SafeArrayGetUBound(list.get(), 1, &last), S_OK);
    ASSERT_EQ(last, 2);
    for (LONG i = 0; i <= last; ++i) {
        win::unique_bstr text;
        EXPECT_EQ(::SafeArrayGetElement(list.get(), &i, text.put()), S_OK);
        EXPECT_EQ(win::bstr_view(text.get()), texts[i]);
    }
}

TEST(Conversions, TellANullTextFromAnEmptyOne) {
    const win::unique_bstr empty(::SysAllocString(L""));
    EXPECT_EQ(com::text_if_given(nullptr), std::nullopt);
    EXPECT_EQ(com::text_if_given(empty.get()), L"");
    EXPECT_EQ(win::bstr_view(nullptr), L"");
    const win::unique_bstr made(com::to_bstr({}));
    EXPECT_NE(made.get(), nullptr) << "scripts take a null result for nothing at all";
    const win::unique_bstr with_zero(com::to_bstr(std::wstring_view(L"a\0b", 3)));
    EXPECT_EQ(win::bstr_view(with_zero.get()), std::wstring_view(L"a\0b", 3));
}

}  // namespace
