#pragma once

#include "KorvaProxyClient.h"
#include "com/com_object.h"
#include "vdisk/mount_manager.h"

namespace com {

class CCoVdiskMountManager final : public com_object<IKorvaVdiskMountManager, impl::CVDiskMountManager> {
public:
    using com_object::com_object;

    STDMETHODIMP get_VmdkMounter(IVmdkMounter** value) override;
    STDMETHODIMP get_VhdMounter(IVhdMounter** value) override;
    STDMETHODIMP get_IsSupportedVhdMount(VARIANT_BOOL* value) override;
};

}  // namespace com
