// The installer service: versions, the upload folder, files that the caller writes, the upgrade of its DLL.
#include "stubs/deployment.h"

#include "lab/serve.h"

namespace {

constexpr ULONG service_version = 6;

}  // namespace

void s_GetSvcVersion(handle_t, ULONG* version, rpc_call_result_t* result) {
    lab::serve(result, "GetSvcVersion", {}, [&] { *version = service_version; });
}

void s_SureUploadFolderExists(handle_t, wchar_t**, rpc_call_result_t* result) {
    lab::decline(result, "SureUploadFolderExists", {});
}

void s_FcCreateFile(handle_t, const wchar_t* path, ULONG desired_access, ULONG share_mode, ULONG creation_disposition,
                    ULONG flags_and_attributes, remote_file_context_t*, rpc_call_result_t* result) {
    lab::decline(result, "FcCreateFile",
                 {{"path", path},
                  {"desired_access", desired_access},
                  {"share_mode", share_mode},
                  {"creation_disposition", creation_disposition},
                  {"flags_and_attributes", flags_and_attributes}});
}

void s_FcWriteFile(handle_t, remote_file_context_t, ULONG size, const byte* data, ULONG*, rpc_call_result_t* result) {
    lab::decline(result, "FcWriteFile", {{"data", std::span(data, size)}});
}

void s_FcCloseFile(handle_t, remote_file_context_t*, rpc_call_result_t* result) { lab::decline(result, "FcCloseFile", {}); }

void s_GetSvcDllVersion(handle_t, ULONG*, ULONG*, rpc_call_result_t* result) { lab::decline(result, "GetSvcDllVersion", {}); }

void s_UpgradeSvcDll(handle_t, const wchar_t* path, rpc_call_result_t* result) {
    lab::decline(result, "UpgradeSvcDll", {{"path", path}});
}

void __RPC_USER remote_file_context_t_rundown(remote_file_context_t) {}
