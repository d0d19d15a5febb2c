#include "com/co_hv_async_op.h"

#include "com/conversions.h"

namespace com {

STDMETHODIMP CCoHvAsyncOp::get_IsCompleted(VARIANT_BOOL* value) {
    return guarded(out(value), [&] { *value = to_variant_bool(impl().IsCompleted()); });
}

STDMETHODIMP CCoHvAsyncOp::get_IsSucceeded(VARIANT_BOOL* value) {
    return guarded(out(value), [&] { *value = to_variant_bool(impl().IsSucceeded()); });
}

STDMETHODIMP CCoHvAsyncOp::get_ErrDescription(BSTR* value) {
    return guarded(out(value), [&] { *value = to_bstr(impl().ErrDescription()); });
}

STDMETHODIMP CCoHvAsyncOp::get_OperationID(GUID* value) {
    return guarded(out(value), [&] { *value = impl().OperationID(); });
}

STDMETHODIMP CCoHvAsyncOp::Refresh() {
    return guarded([&] { impl().Refresh(); });
}

}  // namespace com
