#pragma once

#include "KorvaProxyClient.h"
#include "com/com_object.h"
#include "hv/cluster_volumes.h"

namespace com {

class CCoEnumClusterVolumes final : public com_object<IEnumClusterVolumes, impl::CEnumClusterVolumes> {
public:
    using com_object::com_object;

    STDMETHODIMP Next(VARIANT_BOOL* pVal) override;
    STDMETHODIMP get_Current(IClusterVolumeInformation** pVal) override;
};

// One volume of the enumerator's list, which it keeps alive.
class CCoClusterVolumeInformation final : public com_object<IClusterVolumeInformation, const win::rpc::cluster_volume_t> {
public:
    using com_object::com_object;

    STDMETHODIMP get_MountPoint(BSTR* pVal) override;
    STDMETHODIMP get_IsCSV(VARIANT_BOOL* pVal) override;
};

}  // namespace com
