// The integration service: restore sessions.
#include "lab/host_model.h"
#include "lab/serve.h"
#include "stubs/hv_integration.h"

void s_CreateRestoreSession(handle_t, GUID* session, rpc_call_result_t* result) {
    lab::serve(result, "CreateRestoreSession", {}, [&] { *session = lab::host()->restore.create(); });
}

void s_HvImportConfig(handle_t, const GUID* session, const wchar_t* backup_document, const wchar_t* writer_document,
                      rpc_call_result_t* result) {
    lab::serve(result, "HvImportConfig",
               {{"session", *session}, {"backup_document", backup_document}, {"writer_document", writer_document}},
               [&] { lab::host()->restore.import_config(*session, backup_document, writer_document); });
}

void s_HvPreRestore(handle_t, const GUID* session, const wchar_t* vm, const wchar_t* files_xml, const wchar_t* new_path,
                    rpc_call_result_t* result) {
    lab::serve(result, "HvPreRestore", {{"session", *session}, {"vm", vm}, {"files_xml", files_xml}, {"new_path", new_path}},
               [&] { lab::host()->restore.prepare(*session, vm, files_xml, new_path); });
}

void s_HvPreRestoreEx(handle_t, const GUID* session, const wchar_t* specification, rpc_call_result_t* result) {
    lab::serve(result, "HvPreRestoreEx", {{"session", *session}, {"specification", specification}},
               [&] { lab::host()->restore.prepare(*session, specification); });
}

void s_HvGetRestorePaths(handle_t, const GUID* session, wchar_t** paths_xml, rpc_call_result_t* result) {
    lab::serve(result, "HvGetRestorePaths", {{"session", *session}},
               [&] { *paths_xml = lab::copy_text(lab::host()->restore.paths_xml(*session)); });
}

void s_HvSetRestoreStatus(handle_t, const GUID* session, ULONG succeeded, rpc_call_result_t* result) {
    lab::serve(result, "HvSetRestoreStatus", {{"session", *session}, {"succeeded", succeeded}},
               [&] { lab::host()->restore.report(*session, succeeded != 0); });
}

void s_HvPostRestore(handle_t, const GUID* session, rpc_call_result_t* result) {
    lab::serve(result, "HvPostRestore", {{"session", *session}}, [&] { lab::host()->restore.finish(*session); });
}

void s_HvCloseRestoreSession(handle_t, const GUID* session, rpc_call_result_t* result) {
    lab::serve(result, "HvCloseRestoreSession", {{"session", *session}}, [&] { lab::host()->restore.close(*session); });
}
