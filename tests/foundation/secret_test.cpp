#include "foundation/secret.h"

#include <gmock/gmock.h>

#include <utility>

namespace {

using ::testing::Each;

// All that the string has room for. A short text stands in the string itself, where no watched allocator sees it go.
template <class Char>
std::basic_string_view<Char> room_of(const std::basic_string<Char>& text) {
    return {text.data(), text.capacity()};
}

TEST(Secret, AShortTextLeavesNothingBehind) {
    std::wstring text = L"secret";
    win::secret_t secret(std::move(text));
    EXPECT_EQ(secret.text(), L"secret");
    EXPECT_THAT(room_of(text), Each(L'\0'));

    std::string narrow = "secret";
    const win::code_page_secret_t narrow_secret(std::move(narrow));
    EXPECT_THAT(room_of(narrow), Each('\0'));

    secret = win::secret_t();
    EXPECT_THAT(room_of(secret.text()), Each(L'\0'));
    secret = win::secret_t(std::wstring_view(L"one that is kept on the heap"));
    secret = win::secret_t(std::wstring_view(L"short"));
    EXPECT_EQ(secret.text(), L"short");
    EXPECT_THAT(room_of(secret.text()).substr(5), Each(L'\0'));
}

}  // namespace
