#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

#include "foundation/errors.h"
#include "logging/memory_receiver.h"
#include "tests/com/com_test.h"
#include "tests/com/played_op.h"

namespace {

class guard_test : public com_test {
protected:
    const std::shared_ptr<played_impl> impl = std::make_shared<played_impl>();
    const win::com_ptr<IKorvaHvAsyncOp> op = object_over<CCoPlayedOp>(impl);
};

TEST_F(guard_test, EveryErrorIsLoggedAndLeavesAsItsHresultWithItsText) {
    const struct {
        const char* name;
        std::function<void()> thrower;
        std::uint32_t result;
        std::optional<std::string> description;
        const char* logged;
    } rows[] = {
        {"own text", [] { throw exc::runtime_exc_t("own text"); }, 0x80020009, "own text", "ERR |own text"},
        {"out of memory", [] { throw std::bad_alloc(); }, 0x8007000E, std::nullopt, "ERR |std::bad_alloc"},
        {"an empty text", [] { throw exc::runtime_exc_t(""); }, 0x80020009, "", "ERR |Exception message is not available."},
        {"no exception at all", [] { throw 5; }, 0x80020009, "Exception message is not available.",
         "ERR |Exception message is not available."},
        {"a code of the system's", [] { throw exc::win_sys_exc_t("m", 5); }, 0x80070005, exc::win_sys_exc_t("m", 5).what(),
         "ERR |Access denied."},
        {"a status of the remote call's", [] { throw exc::rpc_exc_t(5); }, 0x80010005, "Access denied.", "ERR |Access denied."},
        {"a standard exception", [] { throw std::out_of_range("index"); }, 0x80020009, "index", "ERR |index"},
        {"an implementation object's", [] { throw impl::rt_exception("T\xC3\xBCr"); }, 0x80020009, "T\xC3\xBCr",
         "ERR |T\xC3\xBCr"},
        {"a native status", [] { throw exc::CNtStatusExc(0xC0000034, "m"); }, 0x80020009,
         exc::CNtStatusExc(0xC0000034, "m").what(), "ERR |NT status code: 0xC0000034"},
        {"a locked file", [] { throw exc::file_locked_exc_t("locked"); }, 0x80020009, "locked", "ERR |locked"},
        {"what somebody else left is not quoted", [] { throw exc::com_exc_t(E_FAIL, "m"); }, 0x80020009,
         " Error code: 0x80004005\nm", "ERR | Error code: 0x80004005"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const logging::captured_log_t log;
        leave_foreign_error();
        impl->refresh = row.thrower;
        EXPECT_EQ(static_cast<std::uint32_t>(op->Refresh()), row.result);
        const auto error = take_error();
        ASSERT_EQ(error.has_value(), row.description.has_value());
        if (error) {
            EXPECT_EQ(error->description, *row.description);
            EXPECT_EQ(error->source, __uuidof(IKorvaHvAsyncOp));
        }
        ASSERT_FALSE(log.texts().empty());
        EXPECT_EQ(log.texts().front(), row.logged);
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
