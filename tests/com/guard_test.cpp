#include <gmock/gmock.h>

#include <memory>
#include <new>

#include "foundation/errors.h"
#include "foundation/nesting.h"
#include "logging/memory_receiver.h"
#include "tests/com/com_test.h"
#include "tests/com/played_op.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using guard_test = com_test;

struct row {
    const char* name;
    std::function<void()> thrower;
    std::uint32_t result;
    std::optional<std::string> description;
    const char* logged;
};

TEST_F(guard_test, EveryErrorIsLoggedAndLeavesAsItsHresultWithItsText) {
    const row rows[] = {
        {"own text", [] { throw exc::runtime_exc_t("own text"); }, 0x80020009, "own text", "ERR |own text"},
        {"out of memory", [] { throw std::bad_alloc(); }, 0x8007000E, std::nullopt, "ERR |std::bad_alloc"},
        {"an empty text", [] { throw exc::runtime_exc_t(""); }, 0x80020009, "", "ERR |Exception message is not available."},
        {"no exception at all", [] { throw 5; }, 0x80020009, "Exception message is not available.",
         "ERR |Exception message is not available."},
    };
    const auto impl = std::make_shared<played_impl>();
    const auto op = make_op(impl);
    for (const row& r : rows) {
        SCOPED_TRACE(r.name);
        logging::captured_log_t log;
        leave_foreign_error();
        impl->refresh = r.thrower;
        EXPECT_EQ(static_cast<std::uint32_t>(op->Refresh()), r.result);
        const auto error = take_error();
        ASSERT_EQ(error.has_value(), r.description.has_value());
        if (error) {
            EXPECT_EQ(error->description, *r.description);
            EXPECT_EQ(error->source, __uuidof(IKorvaHvAsyncOp));
        }
        ASSERT_FALSE(log.texts().empty());
        EXPECT_EQ(log.texts().front(), r.logged);
    }
    impl->refresh = [] {};
    EXPECT_EQ(op->Refresh(), S_OK) << "the object stays usable";
}

TEST_F(guard_test, ErrorObjectsOfOthersAreNeitherQuotedNorLeft) {
    const auto impl = std::make_shared<played_impl>();
    const auto op = make_op(impl);
    leave_foreign_error();
    EXPECT_EQ(op->Refresh(), S_OK);
    EXPECT_EQ(take_error().has_value(), false);

    leave_foreign_error();
    impl->refresh = [] { throw exc::com_exc_t(E_FAIL, "m"); };
    EXPECT_EQ(op->Refresh(), DISP_E_EXCEPTION);
    EXPECT_EQ(description_of_error(), " Error code: 0x80004005\nm");

    leave_foreign_error();
    EXPECT_EQ(op->get_IsSucceeded(nullptr), E_POINTER);
    EXPECT_EQ(take_error().has_value(), false);
}

TEST_F(guard_test, NullOutputsAreRefusedBeforeAnythingIsDone) {
    const auto impl = std::make_shared<played_impl>();
    const auto op = make_op(impl);
    bool done = false;
    impl->refresh = [&] { done = true; };
    logging::captured_log_t log;
    EXPECT_EQ(op->get_IsSucceeded(nullptr), E_POINTER);
    EXPECT_EQ(op->get_OperationID(nullptr), E_POINTER);
    EXPECT_FALSE(done);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(guard_test, OutputsOfAFailedMethodAreEmpty) {
    const auto impl = std::make_shared<played_impl>();
    const auto op = make_op(impl);
    impl->refresh = [] { throw exc::runtime_exc_t("failed"); };
    VARIANT_BOOL flag = VARIANT_TRUE;
    GUID id = __uuidof(IKorvaHvAsyncOp);
    EXPECT_EQ(op->get_IsSucceeded(&flag), DISP_E_EXCEPTION);
    EXPECT_EQ(op->get_OperationID(&id), DISP_E_EXCEPTION);
    EXPECT_EQ(flag, VARIANT_FALSE);
    EXPECT_EQ(id, GUID_NULL);

    int number = 7;
    EXPECT_FALSE(com::out(&number, static_cast<BSTR*>(nullptr)).given);
    EXPECT_EQ(number, 7) << "nothing is done where an output is missing";
    EXPECT_TRUE((com::out(&number) & com::required(&number)).given);
    EXPECT_FALSE((com::out(&number) & com::required(static_cast<IUnknown*>(nullptr))).given);
}

}  // namespace
