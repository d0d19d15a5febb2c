#include "com/co_add_file_result.h"

#include "com/co_change_index.h"
#include "com/create_internal.h"

namespace com {

STDMETHODIMP CCoAddFileResult::get_FileID(ULONG* pVal) {
    return guarded(out(pVal), [&] { *pVal = impl().FileID(); });
}

STDMETHODIMP CCoAddFileResult::get_Index(IChangeIndex** pVal) {
    return guarded(out(pVal), [&] { create_internal<CCoChangeIndex>(impl().Index(), pVal); });
}

}  // namespace com
