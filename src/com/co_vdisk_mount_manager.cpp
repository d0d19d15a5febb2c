#include "com/co_vdisk_mount_manager.h"

#include "com/co_vhd_mounter.h"
#include "com/co_vmdk_mounter.h"
#include "com/create_internal.h"

namespace com {

STDMETHODIMP CCoVdiskMountManager::get_VmdkMounter(IVmdkMounter** value) {
    return guarded(out(value), [&] { create_internal<CCoVmdkMounter>(impl().VmdkMounter(), value); });
}

STDMETHODIMP CCoVdiskMountManager::get_VhdMounter(IVhdMounter** value) {
    return guarded(out(value), [&] { create_internal<CCoVhdMounter>(impl().VhdMounter(), value); });
}

STDMETHODIMP CCoVdiskMountManager::get_IsSupportedVhdMount(VARIANT_BOOL* value) {
    // 1 and not VARIANT_TRUE: clients were told to test for non-zero, and some may know the 1.
    return guarded(out(value), [&] { *value = impl().IsSupportedVhdMount() ? 1 : 0; });
}

}  // namespace com
