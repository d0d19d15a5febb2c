#include "com/com_object.h"

#include <gmock/gmock.h>

#include <thread>
#include <vector>

#include "com/create_internal.h"
#include "foundation/errors.h"
#include "tests/com/com_test.h"
#include "tests/com/outer_object.h"
#include "tests/com/played_op.h"

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
    const auto op = make_op(std::make_shared<played_impl>());
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int n = 0; n < 20000; ++n) {
                win::com_ptr<ISupportErrorInfo> other;
                op.query(other);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    op->AddRef();
    EXPECT_EQ(op->Release(), 1u);
}

TEST_F(com_object_test, AnswersLateBoundCalls) {
    const auto impl = std::make_shared<played_impl>();
    impl->description = L"late";
    const auto op = make_op(impl);
    UINT count = 0;
    EXPECT_EQ(op->GetTypeInfoCount(&count), S_OK);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(op->GetTypeInfoCount(nullptr), E_POINTER);
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
    EXPECT_EQ(op->Invoke(99, IID_NULL, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr), DISP_E_MEMBERNOTFOUND);

    impl->refresh = [] { throw exc::runtime_exc_t("It failed."); };
    EXCEPINFO exception{};
    EXPECT_EQ(op->Invoke(11, IID_NULL, 0, DISPATCH_METHOD, &none, nullptr, &exception, nullptr), DISP_E_EXCEPTION);
    EXPECT_EQ(exception.scode, DISP_E_EXCEPTION);
    EXPECT_STREQ(exception.bstrDescription, L"It failed.");
    ::SysFreeString(exception.bstrDescription);
    ::SysFreeString(exception.bstrSource);
    ::SysFreeString(exception.bstrHelpFile);
}

// No memory for an object of this class.
class CCoNoMemory : public com::com_object<IKorvaHvAsyncOp, played_impl> {
public:
    using com_object::com_object;
    static void* operator new(std::size_t, const std::nothrow_t&) noexcept { return nullptr; }
    static void operator delete(void*) {}
    static void operator delete(void*, const std::nothrow_t&) noexcept {}
    STDMETHODIMP get_IsCompleted(VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP get_IsSucceeded(VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP get_ErrDescription(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP get_OperationID(GUID*) override { return E_NOTIMPL; }
    STDMETHODIMP Refresh() override { return E_NOTIMPL; }
};

TEST_F(com_object_test, IsHandedOutByOneRoutineWithTwoErrors) {
    IKorvaHvAsyncOp* op = nullptr;
    com::create_internal<CCoPlayedOp>(std::make_shared<played_impl>(), &op);
    ASSERT_NE(op, nullptr);
    EXPECT_EQ(op->Release(), 0u);

    try {
        com::create_internal<CCoNoMemory>(std::make_shared<played_impl>(), &op);
        FAIL();
    } catch (const exc::win_sys_exc_t& error) {
        EXPECT_EQ(error.code(), 0x8007000Eu);
        EXPECT_EQ(error.lines().back(), "Failed to create class instance.");
    }
    IChangeIndex* other = nullptr;
    try {
        com::create_internal<CCoPlayedOp>(std::make_shared<played_impl>(), &other);
        FAIL();
    } catch (const exc::runtime_exc_t& error) {
        EXPECT_STREQ(error.what(), "Failed to query requested interface.");
    }
    EXPECT_EQ(other, nullptr);
}

}  // namespace
