// The installer service: versions, the upload folder, files that the caller writes, the upgrade of its DLL. Files are real
// ones: callers write in the upload folder only, and an upgrade writes the DLL beside it.
#include "stubs/deployment.h"

#include <filesystem>
#include <memory>

#include "foundation/errors.h"
#include "foundation/format.h"
#include "foundation/handles.h"
#include "lab/deployment_model.h"
#include "lab/host_model.h"
#include "lab/serve.h"

namespace {

struct remote_file_t {
    win::unique_file file;
};

std::filesystem::path in_upload_folder(const wchar_t* path) {
    const std::filesystem::path wanted = std::filesystem::path(path).lexically_normal();
    const std::filesystem::path folder = lab::host()->deployment.upload_folder;
    if (wanted.parent_path() != folder || !wanted.has_filename())
        throw exc::runtime_exc_t(text::format("'%1' is not in the upload folder '%2'.", path, folder.wstring()));
    return wanted;
}

remote_file_t& file_of(remote_file_context_t context) {
    if (!context)
        throw exc::win_sys_exc_t("There is no such file.", ERROR_INVALID_HANDLE);
    return *static_cast<remote_file_t*>(context);
}

}  // namespace

void s_GetSvcVersion(handle_t, ULONG* version, rpc_call_result_t* result) {
    lab::serve(result, "GetSvcVersion", {}, [&] { *version = lab::host()->deployment.service_version; });
}

void s_SureUploadFolderExists(handle_t, wchar_t** folder, rpc_call_result_t* result) {
    lab::serve(result, "SureUploadFolderExists", {}, [&] {
        const std::filesystem::path path = lab::host()->deployment.upload_folder;
        std::filesystem::create_directories(path);
        *folder = lab::copy_text(path.wstring());
    });
}

void s_FcCreateFile(handle_t, const wchar_t* path, ULONG desired_access, ULONG share_mode, ULONG creation_disposition,
                    ULONG flags_and_attributes, remote_file_context_t* file, rpc_call_result_t* result) {
    lab::serve(result, "FcCreateFile",
               {{"path", path},
                {"desired_access", desired_access},
                {"share_mode", share_mode},
                {"creation_disposition", creation_disposition},
                {"flags_and_attributes", flags_and_attributes}},
               [&] {
                   auto opened = std::make_unique<remote_file_t>();
                   opened->file = win::unique_file(::CreateFileW(in_upload_folder(path).c_str(), desired_access, share_mode,
                                                                 nullptr, creation_disposition, flags_and_attributes, nullptr));
                   if (!opened->file)
                       exc::throw_last_error("The file cannot be opened.");
                   *file = opened.release();
               });
}

void s_FcWriteFile(handle_t, remote_file_context_t file, ULONG size, const byte* data, ULONG* written,
                   rpc_call_result_t* result) {
    lab::serve(result, "FcWriteFile", {{"data", std::span(data, size)}}, [&] {
        const ULONG taken = lab::host()->deployment.writes_one_byte_less && size > 0 ? size - 1 : size;
        DWORD count = 0;
        if (!::WriteFile(file_of(file).file.get(), data, taken, &count, nullptr))
            exc::throw_last_error("The file cannot be written.");
        *written = count;
    });
}

void s_FcCloseFile(handle_t, remote_file_context_t* file, rpc_call_result_t* result) {
    lab::serve(result, "FcCloseFile", {}, [&] {
        delete &file_of(*file);
        *file = nullptr;
    });
}

void s_GetSvcDllVersion(handle_t, ULONG* high, ULONG* low, rpc_call_result_t* result) {
    lab::serve(result, "GetSvcDllVersion", {}, [&] {
        const auto host = lab::host();
        *high = host->deployment.dll_version_high;
        *low = host->deployment.dll_version_low;
    });
}

// The new DLL takes the place of the old one beside the upload folder; the last number of the version counts the upgrades.
void s_UpgradeSvcDll(handle_t, const wchar_t* path, rpc_call_result_t* result) {
    lab::serve(result, "UpgradeSvcDll", {{"path", path}}, [&] {
        const std::filesystem::path uploaded = in_upload_folder(path);
        const auto host = lab::host();
        const std::filesystem::path dll = host->deployment.upload_folder.parent_path() / L"KorvaDeploymentDll.dll";
        std::filesystem::copy_file(uploaded, dll, std::filesystem::copy_options::overwrite_existing);
        ++host->deployment.dll_version_low;
    });
}

// The connection of a caller who held the file open is gone.
void __RPC_USER remote_file_context_t_rundown(remote_file_context_t file) { delete static_cast<remote_file_t*>(file); }
