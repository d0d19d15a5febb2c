#pragma once

#include "KorvaProxyClient.h"
#include "com/com_object.h"
#include "vdisk/vmdk_mounter.h"

namespace com {

class CCoVmdkMounter final : public com_object<IVmdkMounter, impl::vdmount::CVmdkMounter> {
public:
    using com_object::com_object;

    STDMETHODIMP Mount(BSTR mount_folder, unsigned long disk, unsigned long partition) override;
    STDMETHODIMP MountAtDriveLetter(unsigned long disk, unsigned long partition, unsigned long* drive_letter_bit) override;
    STDMETHODIMP Umount(BSTR mount_folder) override;
    STDMETHODIMP UmountAll() override;
    STDMETHODIMP UpdateReparsePoints(BSTR volumes_spec, unsigned long max_count) override;
};

}  // namespace com
