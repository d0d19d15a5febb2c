#include "com/co_vhd_mounter.h"

#include "foundation/automation.h"

namespace com {

STDMETHODIMP CCoVhdMounter::Mount(BSTR vhd_path, BSTR mount_folder_root) {
    return guarded([&] { impl().Mount(win::bstr_text(vhd_path), win::bstr_text(mount_folder_root)); });
}

STDMETHODIMP CCoVhdMounter::MountAtDriveLetter(BSTR vhd_path, unsigned long* drive_letter_bit) {
    return guarded(out(drive_letter_bit), [&] { *drive_letter_bit = impl().MountAtDriveLetter(win::bstr_text(vhd_path)); });
}

STDMETHODIMP CCoVhdMounter::Umount(BSTR vhd_path) {
    return guarded([&] { impl().Umount(win::bstr_text(vhd_path)); });
}

STDMETHODIMP CCoVhdMounter::UmountAll() {
    return guarded([&] { impl().UmountAll(); });
}

}  // namespace com
