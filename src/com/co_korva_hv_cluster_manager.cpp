#include "com/co_korva_hv_cluster_manager.h"

#include "com/co_enum_cluster_volumes.h"
#include "com/conversions.h"
#include "com/create_internal.h"

namespace com {

using win::bstr_view;

STDMETHODIMP CCoKorvaHvClusterManager::SetEndpoint(BSTR ipAddr, int Port) {
    return guarded([&] { impl().SetEndpoint(bstr_view(ipAddr), static_cast<std::uint32_t>(Port)); });
}

STDMETHODIMP CCoKorvaHvClusterManager::SetAccount(BSTR Username, BSTR pwd) {
    return guarded([&] { impl().SetAccount(bstr_view(Username), bstr_view(pwd)); });
}

STDMETHODIMP
CCoKorvaHvClusterManager::get_ClusterVolumes(IEnumClusterVolumes** pVal) {
    return guarded(out(pVal), [&] { create_internal<CCoEnumClusterVolumes>(impl().ClusterVolumes(), pVal); });
}

STDMETHODIMP CCoKorvaHvClusterManager::GetResourceIDByName(BSTR ResourceName, BSTR* pVal) {
    return guarded(out(pVal), [&] { *pVal = to_bstr(impl().GetResourceIDByName(win::bstr_text(ResourceName))); });
}

STDMETHODIMP CCoKorvaHvClusterManager::RefreshVMConfig(BSTR ResourceName) {
    return guarded([&] { impl().RefreshVMConfig(win::bstr_text(ResourceName)); });
}

STDMETHODIMP CCoKorvaHvClusterManager::SetRpcTimeout(int requestTimeoutSec) {
    return guarded([&] { impl().SetRpcTimeout(requestTimeoutSec); });
}

}  // namespace com
