#include "foundation/errors.h"

#include <gmock/gmock.h>

#include <new>
#include <stdexcept>

#include "foundation/convert.h"
#include "foundation/nesting.h"
#include "foundation/system_text.h"
#include "tests/foundation/thrown.h"

namespace {

using lines = std::vector<std::string>;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;

const std::string access_denied = exc::system_error_text(5);

TEST(Errors, LinesStandInTheOrderOfTheirKind) {
    EXPECT_EQ(exc::runtime_exc_t("own text").lines(), (lines{"own text"}));
    EXPECT_EQ(exc::win_sys_exc_t("own text", 5).lines(), (lines{access_denied, "own text"}));
    EXPECT_EQ(exc::rpc_exc_t(1722).lines(), (lines{exc::system_error_text(1722)}));
    EXPECT_EQ(exc::CNtStatusExc(0xC0000022).lines(), (lines{"NT status code: 0xC0000022", access_denied}));
    EXPECT_EQ(exc::CNtStatusExc(0xC0000022, "own text").lines(),
              (lines{"NT status code: 0xC0000022", access_denied, "own text"}));
}

// Text whose conversion changes the last error.
struct disturbing_t {
    operator std::string_view() const {
        ::SetLastError(99);
        return "own";
    }
};

TEST(Errors, TheLastErrorIsReadBeforeTheTextIsMade) {
    ::SetLastError(5);
    try {
        exc::throw_last_error("%1 text", disturbing_t());
    } catch (const exc::win_sys_exc_t& error) {
        EXPECT_EQ(error.lines(), (lines{access_denied, "own text"}));
    }
}

TEST(Errors, WhatIsCurrentAfterEachAddedLine) {
    exc::runtime_exc_t error("first");
    EXPECT_STREQ(error.what(), "first");
    error.add_line("second");
    EXPECT_STREQ(error.what(), "first\nsecond");
    EXPECT_STREQ(exc::runtime_exc_t("").what(), "");
}

TEST(Errors, NestingKeepsTheCausesLinesBeneath) {
    const auto fail = [](auto&& step) { return thrown([&] { exc::wrap_errors([] { return std::string("outer"); }, step); }); };
    EXPECT_EQ(fail([] { throw exc::win_sys_exc_t("inner", 5); }), (lines{"outer", access_denied, "inner"}));
    EXPECT_EQ(fail([] { throw std::runtime_error("plain"); }), (lines{"outer", "plain"}));
    EXPECT_EQ(fail([] { throw std::runtime_error("voll \xfc"); }), (lines{"outer", "voll \xc3\xbc"})) << "in the code page";
    EXPECT_EQ(fail([] { throw impl::rt_exception("of an object"); }), (lines{"outer", "of an object"}));
    EXPECT_EQ(fail([] { exc::wrap_errors("middle", [] { throw exc::rpc_exc_t(5); }); }),
              (lines{"outer", "middle", access_denied}));
    EXPECT_EQ(fail([] { throw std::bad_alloc(); }), lines{"std::bad_alloc"}) << "out of memory keeps its own HRESULT";
    EXPECT_EQ(exc::wrap_errors("unused", [] { return 7; }), 7);
}

TEST(SystemText, ComesFromTheFirstTableThatKnowsTheCode) {
    EXPECT_THAT(access_denied, EndsWith("denied.")) << "no line end";
    EXPECT_THAT(exc::system_error_text(1722), HasSubstr("RPC server"));
    EXPECT_THAT(exc::system_error_text(54321), EndsWith(". Error code: 54321"));
    ASSERT_NE(::LoadLibraryA("wininet.dll"), nullptr);
    EXPECT_THAT(exc::system_error_text(12029), Not(HasSubstr("Error code"))) << "known to wininet's table";
    EXPECT_THAT(exc::system_error_text(12175), EndsWith(". Error code: 12175")) << "behind wininet's range";
}

TEST(Convert, KeepsEveryLanguageAndRefusesWhatCannotBeKept) {
    const std::wstring wide = L"\u0434\u0438\u0441\u043a \u78c1\u76d8 \U0001F4BE";
    EXPECT_EQ(text::widen(text::narrow(wide)), wide);
    EXPECT_EQ(text::narrow(L"a\xD800z"), "a\xEF\xBF\xBDz") << "a lone surrogate";
    EXPECT_THROW(text::widen("\xC3("), exc::win_sys_exc_t);
    EXPECT_EQ(text::to_code_page("plain"), "plain");
    EXPECT_THROW(text::to_code_page(std::wstring_view(L"a\0b", 3)), exc::win_sys_exc_t) << "would be cut short";
    EXPECT_THROW(text::to_code_page(std::wstring_view(L"\u78c1")), exc::win_sys_exc_t) << "never a question mark";
    EXPECT_EQ(text::hex8(0x800706BA), "0x800706BA");
    const GUID guid = {0x056B45E0, 0xD227, 0x4254, {0xBC, 0x3F, 0x9E, 0x1F, 0xC5, 0xF5, 0x0F, 0x08}};
    EXPECT_EQ(text::guid_text(guid), "056b45e0-d227-4254-bc3f-9e1fc5f50f08");
}

}  // namespace
