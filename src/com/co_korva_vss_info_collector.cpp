#include "com/co_korva_vss_info_collector.h"

#include "com/check.h"
#include "com/co_enum_vss_providers.h"
#include "com/conversions.h"
#include "com/create_internal.h"

namespace com {
namespace {

// Through the interface alone: the request may be the console's own object.
std::vector<win::rpc::volume_request_t> pairs_of(IKorvaVssIsVolumesSupportedRequest& request) {
    ULONG count = 0;
    check(request.get_Count(&count), "Failed to get number of volumes");
    std::vector<win::rpc::volume_request_t> pairs;
    for (ULONG i = 0; i < count; ++i) {
        win::unique_bstr name;
        GUID provider{};
        check(request.Get(i, name.put(), &provider), "Failed to get volume");
        pairs.push_back({win::bstr_text(name.get()), provider});
    }
    return pairs;
}

}  // namespace

STDMETHODIMP
CCoKorvaVssInfoCollector::get_VSSProviders(IEnumVSSProviders** pVal) {
    return guarded(out(pVal), [&] { create_internal<CCoEnumVSSProviders>(enumerate(impl().VSSProviders()), pVal); });
}

STDMETHODIMP CCoKorvaVssInfoCollector::IsVolumesSupported(IKorvaVssIsVolumesSupportedRequest* pReq, BSTR* pVal) {
    return guarded(out(pVal) & required(pReq), [&] { *pVal = to_bstr(impl().IsVolumesSupported(pairs_of(*pReq))); });
}

STDMETHODIMP CCoKorvaVssInfoCollector::CollectHvWriterDoc(BSTR* pVal) {
    return guarded(out(pVal), [&] { *pVal = to_bstr(impl().CollectHvWriterDoc()); });
}

}  // namespace com
