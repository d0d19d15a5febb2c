#pragma once

#include "KorvaProxyClient.h"
#include "com/com_object.h"
#include "hv/async_op.h"

namespace com {

class CCoHvAsyncOp final : public com_object<IKorvaHvAsyncOp, impl::CKorvaHvAsyncOp> {
public:
    using com_object::com_object;

    STDMETHODIMP get_IsCompleted(VARIANT_BOOL* value) override;
    STDMETHODIMP get_IsSucceeded(VARIANT_BOOL* value) override;
    STDMETHODIMP get_ErrDescription(BSTR* value) override;
    STDMETHODIMP get_OperationID(GUID* value) override;
    STDMETHODIMP Refresh() override;
};

}  // namespace com
