#pragma once

#include <cstdint>
#include <string_view>

// All remote commands: a command's name is looked up here by its service and operation number.
namespace win::rpc {

enum class service_t { deployment, hv_integration, invoker };

struct command_t {
    std::string_view name;  // what errors and logs show; several commands share a name, and some differ from their class
    service_t service;
    std::uint32_t operation;
};

inline constexpr command_t catalogue[] = {
    {"GetSvcVersion", service_t::deployment, 0},
    {"SureUploadFolderExists", service_t::deployment, 1},
    {"FcCreateFile", service_t::deployment, 2},
    {"FcWriteFile", service_t::deployment, 3},
    {"FcCloseFile", service_t::deployment, 4},
    {"GetSvcDllVersion", service_t::deployment, 5},
    {"UpgradeSvcDll", service_t::deployment, 6},

    {"HvTestConnection", service_t::hv_integration, 0},
    {"HvGetAsyncOpStatus", service_t::hv_integration, 1},
    {"HvGetSnapshotInfo", service_t::hv_integration, 2},
    {"HvGetVMFilesList", service_t::hv_integration, 3},
    {"HvSetVmBackupStatus", service_t::hv_integration, 4},
    {"HvBeginSnapshotCreation", service_t::hv_integration, 5},
    {"HvGetSnapshotIDByOperationID", service_t::hv_integration, 6},
    {"HvCloseSnapshot", service_t::hv_integration, 7},
    {"HvBeginSnapshotImport", service_t::hv_integration, 8},
    {"HvConvertOffhostPaths", service_t::hv_integration, 9},
    {"HvReleaseOperationID", service_t::hv_integration, 10},
    {"CreateRestoreSession", service_t::hv_integration, 11},
    {"HvImportConfig", service_t::hv_integration, 12},
    {"HvPreRestore", service_t::hv_integration, 13},
    {"HvPreRestoreEx", service_t::hv_integration, 14},
    {"HvGetRestorePaths", service_t::hv_integration, 15},
    {"HvSetRestoreStatus", service_t::hv_integration, 16},
    {"HvPostRestore", service_t::hv_integration, 17},
    {"HvCloseRestoreSession", service_t::hv_integration, 18},
    {"HvCtpInit", service_t::hv_integration, 19},
    {"HvCtpInit", service_t::hv_integration, 20},
    {"HvCtpInit", service_t::hv_integration, 21},
    {"HvCtpGetCTStorePath", service_t::hv_integration, 22},
    {"HvCtpSetCTStorePath", service_t::hv_integration, 23},
    {"HvCtpAddFile", service_t::hv_integration, 24},
    {"HvCtpGetFileID", service_t::hv_integration, 25},
    {"HvCtpRemoveFile", service_t::hv_integration, 26},
    {"HvCtpGetFileName", service_t::hv_integration, 27},
    {"HvCtpGetFileIndex", service_t::hv_integration, 28},
    {"HvCtpSetFileIndex", service_t::hv_integration, 29},
    {"HvCtpGetFileStandardInfo", service_t::hv_integration, 30},
    {"HvCtpFlushFileChanges", service_t::hv_integration, 31},
    {"HvCtpGetFileCache", service_t::hv_integration, 32},
    {"HvCtpSetFileCache", service_t::hv_integration, 33},
    {"HvClsEnumClusterVolumes", service_t::hv_integration, 34},
    {"HvClsGetResourceIdByName", service_t::hv_integration, 35},
    {"HvClsRefreshVmConfig", service_t::hv_integration, 36},
    {"HvVssEnumProviders", service_t::hv_integration, 37},
    {"HvVssIsVolumesSupported", service_t::hv_integration, 38},
    {"HvVssCollectWriterDoc", service_t::hv_integration, 39},
    {"HvBeginSnapshotCreation", service_t::hv_integration, 40},
    {"HvBeginSnapshotImport", service_t::hv_integration, 41},

    {"DoRpc", service_t::invoker, 0},
    {"DoRpcWithBinary", service_t::invoker, 1},
    {"InvokerTestConnection", service_t::invoker, 2},
};

// The row of a command; one that is not in the table does not compile.
consteval const command_t& command_of(service_t service, std::uint32_t operation) {
    for (const command_t& row : catalogue)
        if (row.service == service && row.operation == operation)
            return row;
    throw "no such command in the catalogue";
}

}  // namespace win::rpc
