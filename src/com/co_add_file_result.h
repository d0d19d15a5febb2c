#pragma once

#include "KorvaProxyClient.h"
#include "com/com_object.h"
#include "hv/add_file_result.h"

namespace com {

class CCoAddFileResult final : public com_object<IAddFileResult, impl::CKorvaAddFileResult> {
public:
    using com_object::com_object;

    STDMETHODIMP get_FileID(ULONG* pVal) override;
    STDMETHODIMP get_Index(IChangeIndex** pVal) override;
};

}  // namespace com
