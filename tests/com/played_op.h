#pragma once

#include <functional>
#include <string>

#include "KorvaProxyClient.h"
#include "com/com_object.h"
#include "com/conversions.h"

// An implementation that a test plays, and the COM object over it.
struct played_impl {
    std::function<void()> refresh = [] {};
    std::wstring description = L"none";
};

class CCoPlayedOp final : public com::com_object<IKorvaHvAsyncOp, played_impl> {
public:
    using com_object::com_object;

    STDMETHODIMP get_IsCompleted(VARIANT_BOOL* value) override {
        return guarded(com::out(value), [&] { *value = com::to_variant_bool(true); });
    }
    STDMETHODIMP get_IsSucceeded(VARIANT_BOOL* value) override {
        return guarded(com::out(value), [&] { impl().refresh(); });
    }
    STDMETHODIMP get_ErrDescription(BSTR* value) override {
        return guarded(com::out(value), [&] { *value = com::to_bstr(impl().description); });
    }
    STDMETHODIMP get_OperationID(GUID* value) override {
        return guarded(com::out(value), [&] { impl().refresh(); });
    }
    STDMETHODIMP Refresh() override {
        return guarded([&] { impl().refresh(); });
    }
};

inline win::com_ptr<IKorvaHvAsyncOp> make_op(std::shared_ptr<played_impl> impl) {
    auto* const object = com::new_object<CCoPlayedOp>(nullptr, std::move(impl));
    const auto creator = win::com_ptr<IUnknown>::attach(object->inner());
    win::com_ptr<IKorvaHvAsyncOp> op;
    EXPECT_EQ(creator.query(op), S_OK);
    return op;
}
