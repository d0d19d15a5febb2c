#include "foundation/errors.h"

#include <gmock/gmock.h>

#include <memory>
#include <new>
#include <stdexcept>

#include "foundation/convert.h"
#include "foundation/fire_com_exc.h"
#include "foundation/nesting.h"
#include "foundation/system_text.h"
#include "tests/foundation/error_object.h"
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

TEST(Errors, ComErrorsTakeTheThreadsDescription) {
    leave_foreign_error(L"Datei \u00fc\u4e2d");
    EXPECT_EQ(exc::com_exc_t(E_FAIL, "own text").lines(),
              (lines{"Datei \xc3\xbc\xe4\xb8\xad Error code: 0x80004005", "own text"}));
    EXPECT_EQ(exc::com_exc_t(E_FAIL, "own text").lines(), (lines{" Error code: 0x80004005", "own text"}))
        << "the description was taken by the first";
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

const IID source_iid = {0x9A71BD96, 0x1BA4, 0x4050, {0x9E, 0xD1, 0xE5, 0x59, 0x20, 0x4C, 0xD6, 0x54}};

template <class Error, class... Args>
std::shared_ptr<std::exception> make(Args&&... args) {
    return std::make_shared<Error>(std::forward<Args>(args)...);
}

TEST(FireComExc, TranslatesEachKind) {
    struct row_t {
        std::shared_ptr<std::exception> error;
        std::uint32_t result;
        bool has_object = true;  // which tells the error's text
    };
    const row_t rows[] = {
        {make<exc::win_sys_exc_t>("m", 1753u), 0x800706D9},
        {make<exc::win_sys_exc_t>("m", 0u), 0},
        {make<exc::win_sys_exc_t>("an HRESULT as code", 0x80070057), 0x80070057},
        {make<exc::win_sys_exc_t>("more than 16 bits", 0x00123456u), 0x80073456},
        {make<exc::rpc_exc_t>(1753u), 0x800106D9},
        {make<std::bad_alloc>(), 0x8007000E, false},
        {make<exc::runtime_exc_t>("text \xd0\x96"), 0x80020009},
        {make<exc::runtime_exc_t>(exc::nested("outer", exc::rpc_exc_t(1722))), 0x80020009},
        {make<exc::runtime_exc_t>(exc::nested("", exc::runtime_exc_t("inner"))), 0x80020009},
        {make<exc::com_exc_t>(E_FAIL, "m"), 0x80020009},
        {make<exc::CNtStatusExc>(0xC0000022), 0x80020009},
        {make<exc::file_locked_exc_t>("m"), 0x80020009},
        {make<impl::rt_exception>("m"), 0x80020009},
        {make<std::out_of_range>("m"), 0x80020009},
        {make<exc::runtime_exc_t>(""), 0x80020009},
        {make<exc::runtime_exc_t>("not UTF-8: \xC3("), 0x8007000E, false},
    };
    for (const auto& [error, result, has_object] : rows) {
        SCOPED_TRACE(error->what());
        leave_foreign_error();
        EXPECT_EQ(static_cast<std::uint32_t>(exc::CFireComExcMixin::fire_com_exc(*error, source_iid)), result);
        const auto object = take_error();
        ASSERT_EQ(object.has_value(), has_object);
        if (object) {
            EXPECT_EQ(object->description, error->what());
            EXPECT_TRUE(IsEqualGUID(object->source, source_iid));
        }
    }
    exc::CFireComExcMixin::fire_com_exc(std::out_of_range("voll \xfc"), source_iid);
    EXPECT_EQ(description_of_error(), "voll \xc3\xbc") << "a foreign text is in the code page";
}

}  // namespace
