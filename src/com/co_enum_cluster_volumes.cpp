#include "com/co_enum_cluster_volumes.h"

#include "com/conversions.h"
#include "com/create_internal.h"

namespace com {

STDMETHODIMP CCoEnumClusterVolumes::Next(VARIANT_BOOL* pVal) {
    return guarded(out(pVal), [&] { *pVal = to_variant_bool(impl().Next()); });
}

STDMETHODIMP
CCoEnumClusterVolumes::get_Current(IClusterVolumeInformation** pVal) {
    return guarded(out(pVal), [&] { create_internal<CCoClusterVolumeInformation>(impl().Current(), pVal); });
}

STDMETHODIMP CCoClusterVolumeInformation::get_MountPoint(BSTR* pVal) {
    return guarded(out(pVal), [&] { *pVal = to_bstr(impl().mount_point); });
}

STDMETHODIMP CCoClusterVolumeInformation::get_IsCSV(VARIANT_BOOL* pVal) {
    return guarded(out(pVal), [&] { *pVal = to_variant_bool(impl().is_csv); });
}

}  // namespace com
