// The integration service: restore sessions.
#include "stubs/hv_integration.h"

#include "lab/serve.h"

void s_CreateRestoreSession(handle_t, GUID*, rpc_call_result_t* result) { lab::decline(result, "CreateRestoreSession", {}); }

void s_HvImportConfig(handle_t, const GUID* session, const wchar_t* backup_document, const wchar_t* writer_document,
                      rpc_call_result_t* result) {
    lab::decline(result, "HvImportConfig",
                 {{"session", *session}, {"backup_document", backup_document}, {"writer_document", writer_document}});
}

void s_HvPreRestore(handle_t, const GUID* session, const wchar_t* vm, const wchar_t* files_xml, const wchar_t* new_path,
                    rpc_call_result_t* result) {
    lab::decline(result, "HvPreRestore", {{"session", *session}, {"vm", vm}, {"files_xml", files_xml}, {"new_path", new_path}});
}

void s_HvPreRestoreEx(handle_t, const GUID* session, const wchar_t* specification, rpc_call_result_t* result) {
    lab::decline(result, "HvPreRestoreEx", {{"session", *session}, {"specification", specification}});
}

void s_HvGetRestorePaths(handle_t, const GUID* session, wchar_t**, rpc_call_result_t* result) {
    lab::decline(result, "HvGetRestorePaths", {{"session", *session}});
}

void s_HvSetRestoreStatus(handle_t, const GUID* session, ULONG succeeded, rpc_call_result_t* result) {
    lab::decline(result, "HvSetRestoreStatus", {{"session", *session}, {"succeeded", succeeded}});
}

void s_HvPostRestore(handle_t, const GUID* session, rpc_call_result_t* result) {
    lab::decline(result, "HvPostRestore", {{"session", *session}});
}

void s_HvCloseRestoreSession(handle_t, const GUID* session, rpc_call_result_t* result) {
    lab::decline(result, "HvCloseRestoreSession", {{"session", *session}});
}
