#pragma once

#include <windows.h>

#include <virtdisk.h>

#include <memory>
#include <string>

#include "foundation/handles.h"

namespace impl::vdmount {

// The platform's virtual disk functions, looked up when they are needed: the library is not on every machine.
struct virtual_disk_functions_t {
    decltype(&::OpenVirtualDisk) open;
    decltype(&::AttachVirtualDisk) attach;
    decltype(&::GetVirtualDiskPhysicalPath) physical_path;
    decltype(&::DetachVirtualDisk) detach;
    std::shared_ptr<void> library;  // keeps them loaded
};

// From the system's folder. Throws exc::win_sys_exc_t where the library or one of the functions is not there.
virtual_disk_functions_t load_virtual_disk_library(const wchar_t* name = L"virtdisk.dll");

// A VHD file attached as a disk of this machine, writable and without drive letters. It is detached when this goes.
class attached_disk_t {
public:
    // The calling thread must hold the privilege to manage volumes. `functions` must outlive this.
    attached_disk_t(const virtual_disk_functions_t& functions, const std::wstring& path);
    ~attached_disk_t();
    attached_disk_t(const attached_disk_t&) = delete;
    attached_disk_t& operator=(const attached_disk_t&) = delete;

    // N of "\\.\PhysicalDriveN".
    DWORD disk_number() const;

    // Throws exc::win_sys_exc_t where the disk stays attached; it may be called again.
    void detach();

private:
    const virtual_disk_functions_t& functions_;
    win::unique_handle disk_;
};

}  // namespace impl::vdmount
