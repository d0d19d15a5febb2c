#pragma once

// What the type library must hold, as type_library_test.cpp writes it down: each interface with its identifier, each member
// with its dispatch identifier and, where that is another number, its slot.
inline const char interfaces[] = R"(IAddFileResult 3d0342db-10dc-41d5-93a9-f95c8dc8e735
    7 get FileID(retval unsigned long* pVal)
    8 get Index(retval IChangeIndex** pVal)
IChangeIndex 23ede23c-a03a-4488-be17-d0f76ac1127a
    7 get GenerationID(retval GUID* pVal)
    7 put GenerationID(GUID pVal) slot 8
    9 get CurrentIndex(retval unsigned short* pVal)
    9 put CurrentIndex(unsigned short pVal) slot 10
IClusterVolumeInformation f0ec95cd-a917-4e2d-a992-ea63d7edc191
    7 get MountPoint(retval BSTR* pVal)
    8 get IsCSV(retval VARIANT_BOOL* pVal)
IEnumClusterVolumes 056f6fdc-e33e-4bef-9c27-d2fa2afba56d
    7 Next(retval VARIANT_BOOL* pVal)
    8 get Current(retval IClusterVolumeInformation** pVal)
IEnumVSSProviders 72071915-abde-490c-95db-cfb7be78ee0b
    7 Next(retval VARIANT_BOOL* pVal)
    8 get Current(retval IVSSProviderInfo** pVal)
IFileCache b00f4aca-71aa-48fe-b914-1d1093729ee0
    7 get MaxFlatSize(retval unsigned hyper* pVal)
    7 put MaxFlatSize(unsigned hyper pVal) slot 8
    9 get MaxIndirectSize(retval unsigned hyper* pVal)
    9 put MaxIndirectSize(unsigned hyper pVal) slot 10
IFileStandardInfo 4c653fb5-bd1b-4b63-8373-3cb9c93a5b7b
    7 get Index(retval IChangeIndex** pVal)
    8 get BlockSize(retval unsigned long* pVal)
    9 get CTPFileName(retval BSTR* pVal)
    10 get FileOptions(retval unsigned long* pVal)
IKorvaDeployer 340115ad-9b17-4e6f-a44c-b24abe5561a9
    7 SetEndpoint(BSTR host, int Port)
    8 SetAccount(BSTR Username, BSTR Password)
    9 InstallService()
    10 Connect()
    11 RemoveService()
    12 get ServiceVersion(retval int* pVal)
    13 get ServiceDllVersion(retval BSTR* pVal)
    14 UpgradeServiceDll(BSTR dllPath)
    15 InstallServiceEx(BSTR svcPath)
    16 SetRpcTimeout(int requestTimeoutSec)
    17 PingService()
IKorvaHvAsyncOp 2f5c3012-475d-4eea-9b95-13a215487677
    7 get IsCompleted(retval VARIANT_BOOL* pVal)
    8 get IsSucceeded(retval VARIANT_BOOL* pVal)
    9 get ErrDescription(retval BSTR* pVal)
    10 get OperationID(retval GUID* pVal)
    11 Refresh()
IKorvaHvClusterManager fef9814f-b7af-468e-b377-77143494e336
    7 SetEndpoint(BSTR ipAddr, int Port)
    8 SetAccount(BSTR Username, BSTR pwd)
    9 get ClusterVolumes(retval IEnumClusterVolumes** pVal)
    10 GetResourceIDByName(BSTR ResourceName, retval BSTR* pVal)
    11 RefreshVMConfig(BSTR ResourceName)
    12 SetRpcTimeout(int requestTimeoutSec)
IKorvaHvCtpMngr fe48161e-365b-42c5-a7d7-19cefea55c06
    7 Init()
    8 GetVersion(out unsigned short* pCompatibleVersion, out unsigned short* pCurrentVersion)
    9 get BasePath(retval BSTR* pVal)
    9 put BasePath(BSTR pVal) slot 10
    11 AddFile(BSTR FileName, unsigned long BlockSize, EAddFileOptions Opts, retval IAddFileResult** pVal)
    12 GetFileID(BSTR FileName, retval unsigned long* pVal)
    13 RemoveFile(unsigned long FileID, ERemoveFileOptions Opts)
    14 GetFileName(unsigned long FileID, retval BSTR* pVal)
    15 GetFileCTndex(unsigned long FileID, retval IChangeIndex** pVal)
    16 SetFileCTIndex(unsigned long FileID, IChangeIndex* pIndex)
    17 GetFileStandardInfo(unsigned long FileID, retval IFileStandardInfo** pVal)
    18 FlushFileChanges(unsigned long FileID, retval IFileStandardInfo** pVal)
    19 GetFileCache(unsigned long FileID, retval IFileCache** pVal)
    20 SetFileCache(unsigned long FileID, IFileCache* pCache)
IKorvaHvIntegrator 02fb81ec-c19d-4752-a466-7bcf0c74870c
    7 SetEndpoint(BSTR ipAddr, int Port)
    8 SetAccount(BSTR Username, BSTR pwd)
    9 TestConnection()
    10 get VssInfoCollector(retval IKorvaVssInfoCollector** pVal)
    11 get OnhostVss(retval IKorvaHvOnhostVss** pVal)
    12 get OffhostVss(retval IKorvaHvOffhostVss** pVal)
    13 get CtpMngr(retval IKorvaHvCtpMngr** pVal)
    14 get RestoreMngr(retval IKorvaHvRestoreMngr** pVal)
    15 SetRpcTimeout(int requestTimeoutSec)
IKorvaHvOffhostVss 52bb19be-894e-4098-bdb4-fdf6fdfbb3b5
    7 BeginSnapshotImport(BSTR bstrBackupDoc, BSTR snapshotIDsList, retval IKorvaHvAsyncOp** pVal)
    8 ConvertOffhostPaths(GUID SnapshotID, BSTR pathsXml, retval SAFEARRAY(BSTR)* pVal)
    9 GetSnapshotIDByOperationID(GUID OperationID, retval GUID* pVal)
    10 CloseSnapshot(GUID SnapshotID)
    11 BeginSnapshotImportEx(BSTR bstrBackupDoc, BSTR snapshotIDsList, BSTR jobName, BSTR backupConsole, retval IKorvaHvAsyncOp** pVal)
    12 ConvertOffhostPathsToXml(GUID SnapshotID, BSTR pathsXml, retval BSTR* pVal)
IKorvaHvOnhostVss f22c389a-21ac-4c45-bd7e-5fda3755d305
    7 BeginSnapshotCreation(BSTR snapshotXmlSpec, retval IKorvaHvAsyncOp** pVal)
    8 GetSnapshotByOpID(GUID opID, retval IKorvaHvVssSnapshot** pVal)
    9 CloseSnapshot(GUID SnapshotID)
    10 BeginSnapshotCreationEx(BSTR snapshotXmlSpec, BSTR jobName, BSTR backupConsole, retval IKorvaHvAsyncOp** pVal)
IKorvaHvRestoreMngr f9bd96a7-f4b5-4710-951a-fa8058cf5324
    7 CreateSession(retval GUID* pVal)
    8 ImportConfig(GUID sessId, BSTR backupDoc, BSTR writerDoc)
    9 PreRestore(GUID sessId, BSTR VMID, BSTR filesListXml, BSTR newDestPath)
    10 PreRestoreEx(GUID sessId, BSTR restoreSpec)
    11 GetRestorePathsXml(GUID sessId, retval BSTR* pVal)
    12 SetRestoreStatus(GUID sessId, VARIANT_BOOL bSucceeded)
    13 PostRestore(GUID sessId)
    14 CloseSession(GUID sessId)
IKorvaHvVssSnapshot 0ceb6f80-5818-4775-8cfa-69f3cbe6b6ac
    7 get SnapshotID(retval GUID* pVal)
    8 get BackupDocument(retval BSTR* pVal)
    9 get WriterDocument(retval BSTR* pVal)
    10 BuildVmFilesXml(BSTR VMID, retval BSTR* pVal)
    11 EnumVmFiles(BSTR VMID, retval SAFEARRAY(BSTR)* pVal)
    12 GetTransportableSnapshotInfo(out BSTR* pVal)
    13 SetVmBackupStatus(BSTR VMID, VARIANT_BOOL bOk)
IKorvaProxyClientLogging 0b5f5a5b-0001-4353-a5fd-2e0f3ccd25ae
    7 SetLogPath(BSTR logPath)
    8 SetLogSynchronized(BSTR logPath, BSTR mutexName)
IKorvaVdiskMountManager 7f8a138d-da20-4393-a10e-9fe9d6a6f5b4
    7 get VmdkMounter(retval IVmdkMounter** pVal)
    8 get VhdMounter(retval IVhdMounter** pVal)
    9 get IsSupportedVhdMount(retval VARIANT_BOOL* pVal)
IKorvaVssInfoCollector 7e0585dc-9ed7-4901-a0dd-465b438cef75
    7 get VSSProviders(retval IEnumVSSProviders** pVal)
    8 IsVolumesSupported(IKorvaVssIsVolumesSupportedRequest* pReq, retval BSTR* pVal)
    9 CollectHvWriterDoc(retval BSTR* pVal)
IKorvaVssIsVolumesSupportedRequest f5c18f84-42a1-4380-9cd4-9b7b354aa3a6
    7 Add(BSTR VolumeOrFileName, GUID ProviderID)
    8 get Count(retval unsigned long* pVal)
    9 Get(unsigned long Index, out BSTR* VolumeOrFileName, out GUID* ProviderID)
IProxyRpcInvoker 9a71bd96-1ba4-4050-9ed1-e559204cd654
    7 Connect(BSTR backupConsoleVersion)
    8 SetEndpoint(BSTR host, int Port)
    9 SetAccount(BSTR Username, BSTR Password)
    10 DoRpc(BSTR cmdName, BSTR inXml, out BSTR* outXml)
    11 DoRpcWithBinary(BSTR cmdName, BSTR inXml, SAFEARRAY(unsigned char) inData, out BSTR* outXml, out SAFEARRAY(unsigned char)* outData)
    12 TestConnection(BSTR backupConsoleVersion)
    13 SetRpcTimeout(int requestTimeoutSec)
    14 GetRpcTimeout(retval int* requestTimeoutSec)
    15 SecureConnect(BSTR backupConsoleVersion)
IVSSProviderInfo 102ddbc7-50f7-48f3-bb2a-fdd2d489e56e
    7 get ID(retval GUID* pVal)
    8 get Name(retval BSTR* pVal)
    9 get Type(retval EVSSProviderType* pVal)
    10 get Version(retval BSTR* pVal)
    11 get VersionID(retval GUID* pVal)
IVhdMounter 89668222-3238-4b62-bef4-6b2f9310c2eb
    7 Mount(BSTR VhdFilePath, BSTR MountFolderRoot)
    8 MountAtDriveLetter(BSTR VhdFilePath, retval unsigned long* puDriveLetterBit)
    9 Umount(BSTR VhdFilePath)
    10 UmountAll()
IVmdkMounter 343b8c09-fb5a-4cc4-9a00-15c187ac12a9
    7 Mount(BSTR MountFolder, unsigned long nDisk, unsigned long nPartition)
    8 MountAtDriveLetter(unsigned long nDisk, unsigned long nPartition, retval unsigned long* puDriveLetterBit)
    9 Umount(BSTR MountFolder)
    10 UmountAll()
    11 UpdateReparsePoints(BSTR volumesSpecStr, unsigned long maxCount)
)";

inline const char classes_and_constants[] = R"(EVSSProviderType ESystem 0
EVSSProviderType EHardware 1
EVSSProviderType ESoftware 2
EAddFileOptions AddFileOptNone 0
EAddFileOptions AddFileOptCluster 1
EAddFileOptions AddFileOptCtUser 256
EAddFileOptions AddFileOptStoreWithFile 512
ERemoveFileOptions RemoveFileOptNone 0
ERemoveFileOptions RemoveFileOptCluster 1
KorvaProxyClientLogging 2a09039a-33c1-4827-abf6-587a0141da22
KorvaDeployer 66ac1f6e-e1ba-48df-94e0-417ee180a956
KorvaHvIntegrator 9091a1d5-9ea9-4a2a-a28d-d3a6d9b54b80
KorvaVdiskMountManager 608a0da9-8913-4471-a4ab-cd9a1eaa6ff5
KorvaHvClusterManager d6735e2d-7466-4c56-90ea-29a16e745c9a
KorvaVssIsVolumesSupportedRequest 874bd6c5-2686-4da3-9543-f3fcdf6cab21
KorvaProxyInvoker 056b45e0-d227-4254-bc3f-9e1fc5f50f08
)";
