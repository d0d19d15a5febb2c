#include "foundation/errors.h"

#include <gtest/gtest.h>

#include <new>

#include "foundation/convert.h"
#include "foundation/nesting.h"
#include "foundation/system_text.h"
#include "tests/foundation/error_object.h"

namespace {

using lines = std::vector<std::string>;

const std::string access_denied = exc::system_error_text(5);

TEST(Errors, LinesStandInTheOrderOfTheirKind) {
    EXPECT_EQ(exc::runtime_exc_t("own text").lines(), (lines{"own text"}));
    EXPECT_EQ(exc::win_sys_exc_t("own text", 5).lines(), (lines{access_denied, "own text"}));
    EXPECT_EQ(exc::rpc_exc_t(1722).lines(), (lines{exc::system_error_text(1722)}));
    EXPECT_EQ(exc::CNtStatusExc(0xC0000022).lines(), (lines{"NT status code: 0xC0000022", access_denied}));
    EXPECT_EQ(exc::CNtStatusExc(0xC0000022, "own text").lines(),
              (lines{"NT status code: 0xC0000022", access_denied, "own text"}));
}

TEST(Errors, WhatIsCurrentAfterEachAddedLine) {
    exc::runtime_exc_t error("first");
    EXPECT_STREQ(error.what(), "first");
    error.add_line("second");
    EXPECT_STREQ(error.what(), "first\nsecond");
    EXPECT_STREQ(exc::runtime_exc_t("").what(), "");
}

TEST(Errors, ComErrorsTakeTheThreadsDescription) {
    leave_foreign_error(L"Datei \u00fc\u4e2d");
    EXPECT_EQ(exc::com_exc_t(E_FAIL, "own text").lines(),
              (lines{"Datei \xc3\xbc\xe4\xb8\xad Error code: 0x80004005", "own text"}));
    EXPECT_EQ(exc::com_exc_t(E_FAIL, "own text").lines(), (lines{" Error code: 0x80004005", "own text"}))
        << "the description was taken by the first";
}

TEST(Errors, NestingKeepsTheCausesLinesBeneath) {
    const auto fail = [](auto&& step) -> lines {
        try {
            exc::wrap_errors([] { return std::string("outer"); }, step);
        } catch (const exc::runtime_exc_t& error) {
            return error.lines();
        }
        return {};
    };
    EXPECT_EQ(fail([] { throw exc::win_sys_exc_t("inner", 5); }), (lines{"outer", access_denied, "inner"}));
    EXPECT_EQ(fail([] { throw std::runtime_error("plain"); }), (lines{"outer", "plain"}));
    EXPECT_EQ(fail([] { throw impl::rt_exception("of an object"); }), (lines{"outer", "of an object"}));
    EXPECT_EQ(fail([] { exc::wrap_errors("middle", [] { throw exc::rpc_exc_t(5); }); }),
              (lines{"outer", "middle", access_denied}));
    EXPECT_THROW(fail([] { throw std::bad_alloc(); }), std::bad_alloc) << "out of memory keeps its own HRESULT";
    EXPECT_EQ(exc::wrap_errors("unused", [] { return 7; }), 7);
}

TEST(SystemText, ComesFromTheFirstTableThatKnowsTheCode) {
    for (const std::uint32_t code : {5u, 1722u}) {
        const std::string known = exc::system_error_text(code);
        EXPECT_NE(known.find(code == 5 ? "denied." : "RPC server"), std::string::npos) << known;
        EXPECT_EQ(known.back(), '.') << "no line end: " << known;
        EXPECT_EQ(known.find("Error code"), std::string::npos) << known;
    }

    const std::string unknown = exc::system_error_text(54321);
    const std::string tail = ". Error code: 54321";
    ASSERT_GT(unknown.size(), tail.size());
    EXPECT_EQ(unknown.substr(unknown.size() - tail.size()), tail);

    ASSERT_NE(::LoadLibraryA("wininet.dll"), nullptr);
    EXPECT_EQ(exc::system_error_text(12029).find("Error code"), std::string::npos) << "known to wininet's table";
    EXPECT_NE(exc::system_error_text(12175).find(". Error code: 12175"), std::string::npos) << "behind wininet's range";
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
