// The loopback's deployment and invoker services.
#include <rpc.h>
#include <rpcndr.h>

#include <utility>

#include "stubs/deployment.h"
#include "stubs/invoker.h"
#include "tests/rpc/served.h"

using loopback::rpc_string;
using loopback::serve;

namespace {

std::string_view text_of(const byte* data, ULONG size) { return {reinterpret_cast<const char*>(data), size}; }

}  // namespace

extern "C" {

void s_GetSvcVersion(handle_t, ULONG* version, rpc_call_result_t* result) {
    serve(result, "GetSvcVersion");
    *version = 0xFFFFFFFE;
}

void s_SureUploadFolderExists(handle_t, wchar_t** folder, rpc_call_result_t* result) {
    serve(result, "SureUploadFolderExists");
    *folder = rpc_string(L"C:\\Upload\u00e9\u4e16");
}

void s_FcCreateFile(handle_t, const wchar_t* path, ULONG access, ULONG share, ULONG disposition, ULONG flags,
                    remote_file_context_t* file, rpc_call_result_t* result) {
    serve(result, "FcCreateFile", path, access, share, disposition, flags);
    ++loopback::served().open_files;
    *file = new int(7);
}

void s_FcWriteFile(handle_t, remote_file_context_t file, ULONG size, const byte* data, ULONG* written,
                   rpc_call_result_t* result) {
    serve(result, "FcWriteFile", *static_cast<int*>(file), text_of(data, size));
    *written = size;
}

void s_FcCloseFile(handle_t, remote_file_context_t* file, rpc_call_result_t* result) {
    serve(result, "FcCloseFile", *static_cast<int*>(*file));
    if (result->ok)
        remote_file_context_t_rundown(std::exchange(*file, nullptr));
}

void __RPC_USER remote_file_context_t_rundown(remote_file_context_t file) {
    delete static_cast<int*>(file);
    --loopback::served().open_files;
}

void s_GetSvcDllVersion(handle_t, ULONG* high, ULONG* low, rpc_call_result_t* result) {
    serve(result, "GetSvcDllVersion");
    *high = 0x00070000;
    *low = 0x00010002;
}

void s_UpgradeSvcDll(handle_t, const wchar_t* path, rpc_call_result_t* result) { serve(result, "UpgradeSvcDll", path); }

void s_DoRpc(handle_t, const wchar_t* command, const wchar_t* input, wchar_t** output, rpc_call_result_t* result) {
    serve(result, "DoRpc", command, input);
    *output = rpc_string(input);
}

// Doubles the block.
void s_DoRpcWithBinary(handle_t, const wchar_t* command, const wchar_t* input, ULONG size, const byte* data, wchar_t** output,
                       ULONG* output_size, byte** output_data, rpc_call_result_t* result) {
    serve(result, "DoRpcWithBinary", command, input, text_of(data, size));
    *output = rpc_string(input);
    *output_size = 2 * size;
    if (size == 0 && loopback::served().records == loopback::records_t::missing)
        return;
    *output_data = static_cast<byte*>(MIDL_user_allocate(2 * size));
    memcpy(*output_data, data, size);
    memcpy(*output_data + size, data, size);
}

void s_InvokerTestConnection(handle_t, const wchar_t* version, rpc_call_result_t* result) {
    serve(result, "InvokerTestConnection", version);
}

}  // extern "C"
