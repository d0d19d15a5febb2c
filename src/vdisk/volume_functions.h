#pragma once

#include <windows.h>
#include <winternl.h>

#include "vdisk/privilege.h"

namespace impl::vdmount {

using nt_create_file_t = decltype(::NtCreateFile);
// Declared by the driver kit only.
using nt_query_directory_file_t = NTSTATUS NTAPI(HANDLE file, HANDLE event, PIO_APC_ROUTINE routine, PVOID context,
                                                 PIO_STATUS_BLOCK io_status, PVOID buffer, ULONG length,
                                                 FILE_INFORMATION_CLASS information_class, BOOLEAN single_entry,
                                                 PUNICODE_STRING file_name, BOOLEAN restart);

// The platform calls of the reparse point updater.
struct volume_functions_t {
    decltype(&::GetFileAttributesW) get_file_attributes = &::GetFileAttributesW;
    decltype(&::CreateFileW) create_file = &::CreateFileW;
    decltype(&::DeviceIoControl) device_io_control = &::DeviceIoControl;
    decltype(&::GetFileInformationByHandle) get_file_information = &::GetFileInformationByHandle;
    FARPROC(*ntdll_function)
    (const char* name) = [](const char* name) {
        const HMODULE ntdll = ::GetModuleHandleW(L"ntdll.dll");
        return ntdll ? ::GetProcAddress(ntdll, name) : nullptr;
    };
    win::held_privilege_t (*take_privilege)(const win::privilege_t&) = &win::take_privilege;
};

}  // namespace impl::vdmount
