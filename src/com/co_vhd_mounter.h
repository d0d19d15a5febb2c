#pragma once

#include "KorvaProxyClient.h"
#include "com/com_object.h"
#include "vdisk/vhd_mounter.h"

namespace com {

class CCoVhdMounter final : public com_object<IVhdMounter, impl::vdmount::CVhdMounter> {
public:
    using com_object::com_object;

    STDMETHODIMP Mount(BSTR vhd_path, BSTR mount_folder_root) override;
    STDMETHODIMP MountAtDriveLetter(BSTR vhd_path, unsigned long* drive_letter_bit) override;
    STDMETHODIMP Umount(BSTR vhd_path) override;
    STDMETHODIMP UmountAll() override;
};

}  // namespace com
