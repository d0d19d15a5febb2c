#include "com/conversions.h"

#include <gmock/gmock.h>

#include <vector>

#include "tests/foundation/thrown.h"

namespace {

win::unique_safe_array array_of(VARTYPE type, std::vector<ULONG> sizes) {
    std::vector<SAFEARRAYBOUND> bounds;
    for (const ULONG size : sizes)
        bounds.push_back({size, 5});  // the lowest index is the caller's business
    return win::unique_safe_array(::SafeArrayCreate(type, static_cast<UINT>(bounds.size()), bounds.data()));
}

TEST(Conversions, LockABlockOfBytesWhileItIsRead) {
    const auto array = array_of(VT_UI1, {3});
    for (LONG i = 5; i < 8; ++i) {
        unsigned char byte = static_cast<unsigned char>(i * 30);
        ASSERT_EQ(::SafeArrayPutElement(array.get(), &i, &byte), S_OK);
    }
    {
        const com::safe_array_bytes block(array.get());
        EXPECT_THAT(block.bytes(), ::testing::ElementsAreArray({150, 180, 210}));
        EXPECT_EQ(::SafeArrayDestroyData(array.get()), DISP_E_ARRAYISLOCKED);
    }
    EXPECT_EQ(array.get()->cLocks, 0u);
}

TEST(Conversions, RefuseWhatIsNoBlockOfBytes) {
    const std::pair<VARTYPE, std::vector<ULONG>> rows[] = {{VT_I1, {2}},      {VT_I4, {2}},     {VT_BSTR, {2}},
                                                           {VT_VARIANT, {2}}, {VT_UI1, {2, 2}}, {VT_UI1, {0, 0}}};
    for (const auto& [type, sizes] : rows) {
        SCOPED_TRACE(type);
        const auto array = array_of(type, sizes);
        EXPECT_EQ(thrown_code([&] { const com::safe_array_bytes block(array.get()); }), 0x80020005u);
        EXPECT_EQ(array.get()->cLocks, 0u);
    }
}

TEST(Conversions, NeverGiveANullTextAndKeepZerosInside) {
    const win::unique_bstr made(com::to_bstr({}));
    EXPECT_NE(made.get(), nullptr) << "scripts take a null result for nothing at all";
    const win::unique_bstr with_zero(com::to_bstr(std::wstring_view(L"a\0b", 3)));
    EXPECT_EQ(win::bstr_view(with_zero.get()), std::wstring_view(L"a\0b", 3));
}

}  // namespace
