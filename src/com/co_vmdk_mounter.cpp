#include "com/co_vmdk_mounter.h"

#include "foundation/automation.h"

namespace com {

STDMETHODIMP CCoVmdkMounter::Mount(BSTR mount_folder, unsigned long disk, unsigned long partition) {
    return guarded([&] { impl().Mount(win::bstr_text(mount_folder), disk, partition); });
}

STDMETHODIMP CCoVmdkMounter::MountAtDriveLetter(unsigned long disk, unsigned long partition, unsigned long* drive_letter_bit) {
    return guarded(out(drive_letter_bit), [&] { *drive_letter_bit = impl().MountAtDriveLetter(disk, partition); });
}

STDMETHODIMP CCoVmdkMounter::Umount(BSTR mount_folder) {
    return guarded([&] { impl().Umount(win::bstr_text(mount_folder)); });
}

STDMETHODIMP CCoVmdkMounter::UmountAll() {
    return guarded([&] { impl().UmountAll(); });
}

STDMETHODIMP CCoVmdkMounter::UpdateReparsePoints(BSTR volumes_spec, unsigned long max_count) {
    return guarded([&] { impl().UpdateReparsePoints(win::bstr_text(volumes_spec), max_count); });
}

}  // namespace com
