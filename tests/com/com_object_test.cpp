#include "com/com_object.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "com/create_internal.h"
#include "foundation/errors.h"
#include "tests/com/com_test.h"
#include "tests/com/outer_object.h"
#include "tests/com/played_op.h"
#include "tests/foundation/thrown.h"
#include "tests/watched_memory.h"

namespace {

using com_object_test = com_test;

TEST_F(com_object_test, ItsImplementationGoesWithItsLastReference) {
    for (const bool aggregated : {false, true}) {
        outer_object outer;
        auto impl = std::make_shared<played_impl>();
        const std::weak_ptr<played_impl> alive = impl;
        IUnknown* const controlling = aggregated ? &outer : nullptr;
        outer.part = win::com_ptr<IUnknown>::attach(com::new_object<CCoPlayedOp>(controlling, std::move(impl))->inner());
        win::com_ptr<IKorvaHvAsyncOp> op;
        ASSERT_EQ(outer.part.query(op), S_OK);
        EXPECT_EQ(op->Refresh(), S_OK);
        (aggregated ? op.reset() : outer.part.reset());
        EXPECT_FALSE(alive.expired());
        (aggregated ? outer.part.reset() : op.reset());
        EXPECT_TRUE(alive.expired());
    }
}

TEST_F(com_object_test, CountsReferencesOfManyThreads) {
    const auto op = object_over<CCoPlayedOp>(std::make_shared<played_impl>());
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([&] {
                for (int n = 0; n < 20000; ++n) {
                    win::com_ptr<ISupportErrorInfo> other;
                    op.query(other);
                }
            });
    }
    op->AddRef();
    EXPECT_EQ(op->Release(), 1u);
}

TEST_F(com_object_test, AnswersLateBoundCalls) {
    const auto impl = std::make_shared<played_impl>();
    impl->description = L"late";
    const auto op = object_over<CCoPlayedOp>(impl);
    UINT count = 0;
    EXPECT_EQ(op->GetTypeInfoCount(&count), S_OK);
    EXPECT_EQ(count, 1u);
    win::com_ptr<ITypeInfo> info;
    EXPECT_EQ(op->GetTypeInfo(0, 0, info.put()), S_OK);
    EXPECT_TRUE(info);
    EXPECT_EQ(op->GetTypeInfo(1, 0, info.put()), DISP_E_BADINDEX);
    EXPECT_FALSE(info);

    wchar_t name[] = L"errdescription";  // names have no case here
    wchar_t unknown[] = L"Nothing";
    wchar_t* names[] = {name};
    DISPID id = 0;
    EXPECT_EQ(op->GetIDsOfNames(IID_NULL, names, 1, 0, &id), S_OK);
    EXPECT_EQ(id, 9);
    EXPECT_EQ(op->GetIDsOfNames(IID_IUnknown, names, 1, 0, &id), DISP_E_UNKNOWNINTERFACE);
    names[0] = unknown;
    EXPECT_EQ(op->GetIDsOfNames(IID_NULL, names, 1, 0, &id), DISP_E_UNKNOWNNAME);

    DISPPARAMS none{};
    win::unique_variant value;
    EXPECT_EQ(op->Invoke(9, IID_NULL, 0, DISPATCH_PROPERTYGET, &none, value.get(), nullptr, nullptr), S_OK);
    EXPECT_EQ(V_VT(value.get()), VT_BSTR);
    EXPECT_EQ(win::bstr_view(V_BSTR(value.get())), L"late");
    EXPECT_EQ(op->Invoke(9, IID_IUnknown, 0, DISPATCH_PROPERTYGET, &none, nullptr, nullptr, nullptr), DISP_E_UNKNOWNINTERFACE);
}

TEST_F(com_object_test, IsHandedOutByOneRoutineWithTwoErrors) {
    EXPECT_EQ(object_over<CCoPlayedOp>(std::make_shared<played_impl>()).detach()->Release(), 0u);
    win::com_ptr<IKorvaHvAsyncOp> op;
    const auto without_memory = [&] {
        auto impl = std::make_shared<played_impl>();
        watched_memory::fail_allocation(1);
        com::create_internal<CCoPlayedOp>(std::move(impl), op.put());
    };
    EXPECT_EQ(thrown(without_memory).back(), "Failed to create class instance.");
    EXPECT_EQ(thrown_code(without_memory), 0x8007000Eu);
    win::com_ptr<IChangeIndex> other;
    EXPECT_EQ(thrown_text([&] { com::create_internal<CCoPlayedOp>(std::make_shared<played_impl>(), other.put()); }),
              "Failed to query requested interface.");
    EXPECT_FALSE(op || other);
}

}  // namespace
