#pragma once

#include "KorvaProxyClient.h"
#include "com/com_object.h"
#include "hv/vss_info.h"

namespace com {

class CCoKorvaVssInfoCollector final : public com_object<IKorvaVssInfoCollector, impl::CKorvaVssInfo> {
public:
    using com_object::com_object;

    STDMETHODIMP get_VSSProviders(IEnumVSSProviders** pVal) override;
    STDMETHODIMP IsVolumesSupported(IKorvaVssIsVolumesSupportedRequest* pReq, BSTR* pVal) override;
    STDMETHODIMP CollectHvWriterDoc(BSTR* pVal) override;
};

}  // namespace com
