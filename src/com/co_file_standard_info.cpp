#include "com/co_file_standard_info.h"

#include "com/co_change_index.h"
#include "com/conversions.h"
#include "com/create_internal.h"

namespace com {

STDMETHODIMP CCoFileStandardInfo::get_Index(IChangeIndex** pVal) {
    return guarded(out(pVal), [&] { create_internal<CCoChangeIndex>(impl().Index(), pVal); });
}

STDMETHODIMP CCoFileStandardInfo::get_BlockSize(ULONG* pVal) {
    return guarded(out(pVal), [&] { *pVal = impl().BlockSize(); });
}

STDMETHODIMP CCoFileStandardInfo::get_CTPFileName(BSTR* pVal) {
    return guarded(out(pVal), [&] { *pVal = to_bstr(impl().CTPFileName()); });
}

STDMETHODIMP CCoFileStandardInfo::get_FileOptions(ULONG* pVal) {
    return guarded(out(pVal), [&] { *pVal = impl().FileOptions(); });
}

}  // namespace com
