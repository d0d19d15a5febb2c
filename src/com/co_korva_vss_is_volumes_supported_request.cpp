#include "com/co_korva_vss_is_volumes_supported_request.h"

#include "com/conversions.h"

namespace com {

STDMETHODIMP CCoKorvaVssIsVolumesSupportedRequest::Add(BSTR VolumeOrFileName, GUID ProviderID) {
    return guarded([&] { impl().Add(win::bstr_text(VolumeOrFileName), ProviderID); });
}

STDMETHODIMP CCoKorvaVssIsVolumesSupportedRequest::get_Count(ULONG* pVal) {
    return guarded(out(pVal), [&] { *pVal = impl().Count(); });
}

STDMETHODIMP CCoKorvaVssIsVolumesSupportedRequest::Get(ULONG Index, BSTR* VolumeOrFileName, GUID* ProviderID) {
    return guarded(out(VolumeOrFileName, ProviderID), [&] {
        const auto pair = impl().Get(Index);
        *VolumeOrFileName = to_bstr(pair.name);
        *ProviderID = pair.provider_id;
    });
}

}  // namespace com
