#pragma once

#include "KorvaProxyClient.h"
#include "com/com_object.h"
#include "hv/cluster_manager.h"

namespace com {

class CCoKorvaHvClusterManager final : public com_object<IKorvaHvClusterManager, impl::CKorvaHvClusterManager> {
public:
    using com_object::com_object;

    STDMETHODIMP SetEndpoint(BSTR ipAddr, int Port) override;
    STDMETHODIMP SetAccount(BSTR Username, BSTR pwd) override;
    STDMETHODIMP get_ClusterVolumes(IEnumClusterVolumes** pVal) override;
    STDMETHODIMP GetResourceIDByName(BSTR ResourceName, BSTR* pVal) override;
    STDMETHODIMP RefreshVMConfig(BSTR ResourceName) override;
    STDMETHODIMP SetRpcTimeout(int requestTimeoutSec) override;
};

}  // namespace com
