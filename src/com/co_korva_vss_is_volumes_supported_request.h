#pragma once

#include "KorvaProxyClient.h"
#include "com/com_object.h"
#include "hv/volumes_supported_request.h"

namespace com {

class CCoKorvaVssIsVolumesSupportedRequest final
    : public com_object<IKorvaVssIsVolumesSupportedRequest, impl::CKorvaVssIsVolumesSupportedRequest> {
public:
    using com_object::com_object;

    STDMETHODIMP Add(BSTR VolumeOrFileName, GUID ProviderID) override;
    STDMETHODIMP get_Count(ULONG* pVal) override;
    STDMETHODIMP Get(ULONG Index, BSTR* VolumeOrFileName, GUID* ProviderID) override;
};

}  // namespace com
