#pragma once

#include "KorvaProxyClient.h"
#include "com/com_object.h"
#include "hv/file_standard_info.h"

namespace com {

class CCoFileStandardInfo final : public com_object<IFileStandardInfo, impl::CKorvaFileStandardInfo> {
public:
    using com_object::com_object;

    STDMETHODIMP get_Index(IChangeIndex** pVal) override;
    STDMETHODIMP get_BlockSize(ULONG* pVal) override;
    STDMETHODIMP get_CTPFileName(BSTR* pVal) override;
    STDMETHODIMP get_FileOptions(ULONG* pVal) override;
};

}  // namespace com
