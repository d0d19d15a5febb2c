#pragma once

#include <functional>

#include "KorvaProxyClient.h"
#include "com/com_object.h"

// An implementation that a test plays, and its COM class.
struct played_impl {
    std::function<void()> refresh = [] {};
};

class CCoPlayedOp final : public com::com_object<IKorvaHvAsyncOp, played_impl> {
public:
    using com_object::com_object;

    STDMETHODIMP get_IsCompleted(VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP get_IsSucceeded(VARIANT_BOOL* value) override {
        return guarded(com::out(value), [&] { impl().refresh(); });
    }
    STDMETHODIMP get_ErrDescription(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP get_OperationID(GUID*) override { return E_NOTIMPL; }
    STDMETHODIMP Refresh() override {
        return guarded([&] { impl().refresh(); });
    }
};
