#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

#include "foundation/errors.h"
#include "foundation/nesting.h"
#include "logging/memory_receiver.h"
#include "tests/com/com_test.h"
#include "tests/com/played_op.h"

namespace {

class guard_test : public com_test {
protected:
    const std::shared_ptr<played_impl> impl = std::make_shared<played_impl>();
    const win::com_ptr<IKorvaHvAsyncOp> op = object_over<CCoPlayedOp>(impl);
};

constexpr std::string_view no_message = "Exception message is not available.";

struct row_t {
    std::string text;  // of the error object
    std::function<void()> throw_it;
    std::uint32_t result = 0x80020009;
    bool has_object = true;
};
template <class Error>
row_t row(const Error& error, std::uint32_t result = 0x80020009) {
    return {error.what(), [error] { throw error; }, result};
}

TEST_F(guard_test, EveryErrorIsLoggedAndLeavesAsItsHresultWithItsText) {
    const row_t rows[] = {
        row(exc::win_sys_exc_t("m", 1753), 0x800706D9),
        row(exc::win_sys_exc_t("m", 0), 0),
        row(exc::win_sys_exc_t("an HRESULT as code", 0x80070057), 0x80070057),
        row(exc::win_sys_exc_t("more than 16 bits", 0x00123456), 0x80073456),
        row(exc::rpc_exc_t(1753), 0x800106D9),
        row(exc::runtime_exc_t("text \xd0\x96")),
        row(exc::runtime_exc_t("")),
        row(exc::nested("outer", exc::rpc_exc_t(1722))),
        row(exc::nested("", exc::runtime_exc_t("inner"))),
        row(exc::CNtStatusExc(0xC0000022)),
        row(exc::file_locked_exc_t("m")),
        row(impl::rt_exception("m")),
        row(std::out_of_range("m")),
        {"voll \xc3\xbc", [] { throw std::out_of_range("voll \xfc"); }},            // a foreign text is in the code page
        {" Error code: 0x80004005\nm", [] { throw exc::com_exc_t(E_FAIL, "m"); }},  // no word of what was left before
        {"D\xc3\xbc\xe4\xb8\xad Error code: 0x80004005\nm",
         [] {
             leave_foreign_error(L"D\xfc\u4e2d");
             throw exc::com_exc_t(E_FAIL, "m");
         }},
        {std::string(no_message), [] { throw 5; }},
        {"std::bad_alloc",
         [] {
             leave_foreign_error();
             throw std::bad_alloc();
         },
         0x8007000E, false},
        {"not UTF-8: \xC3(", [] { throw exc::runtime_exc_t("not UTF-8: \xC3("); }, 0x8007000E, false},
    };
    for (const row_t& row : rows) {
        SCOPED_TRACE(row.text);
        const logging::captured_log_t log;
        leave_foreign_error();
        impl->refresh = row.throw_it;
        EXPECT_EQ(static_cast<std::uint32_t>(op->Refresh()), row.result);
        const auto error = take_error();
        ASSERT_EQ(error.has_value(), row.has_object);
        if (error) {
            EXPECT_EQ(error->description, row.text);
            EXPECT_EQ(error->source, __uuidof(IKorvaHvAsyncOp));
        }
        const std::string first_line = row.text.substr(0, row.text.find('\n'));
        ASSERT_FALSE(log.texts().empty());
        EXPECT_EQ(log.texts().front(), "ERR |" + (row.text.empty() ? std::string(no_message) : first_line));
    }
    std::printf("%zu kinds of errors through the guard\n", std::size(rows));
    leave_foreign_error();
    impl->refresh = [] {};
    EXPECT_EQ(op->Refresh(), S_OK) << "the object stays usable";
    EXPECT_FALSE(take_error());
}

TEST_F(guard_test, OutputsOfAFailedMethodAreEmpty) {
    impl->refresh = [] { throw exc::runtime_exc_t("failed"); };
    VARIANT_BOOL flag = VARIANT_TRUE;
    EXPECT_EQ(op->get_IsSucceeded(&flag), DISP_E_EXCEPTION);
    EXPECT_EQ(flag, VARIANT_FALSE);

    int number = 7;
    EXPECT_FALSE(com::out(&number, static_cast<BSTR*>(nullptr)).given);
    EXPECT_EQ(number, 7) << "nothing is done where an output is missing";
}

}  // namespace
