#include "com/co_korva_hv_ctp_mngr.h"

#include "com/co_add_file_result.h"
#include "com/co_change_index.h"
#include "com/co_file_cache.h"
#include "com/co_file_standard_info.h"
#include "com/conversions.h"
#include "com/create_internal.h"

namespace com {

STDMETHODIMP CCoKorvaHvCtpMngr::Init() {
    return guarded([&] { impl().Init(); });
}

STDMETHODIMP CCoKorvaHvCtpMngr::GetVersion(USHORT* pCompatibleVersion, USHORT* pCurrentVersion) {
    return guarded(out(pCompatibleVersion, pCurrentVersion), [&] {
        const auto version = impl().GetVersion();
        *pCompatibleVersion = version.compatible;
        *pCurrentVersion = version.current;
    });
}

STDMETHODIMP CCoKorvaHvCtpMngr::get_BasePath(BSTR* pVal) {
    return guarded(out(pVal), [&] { *pVal = to_bstr(impl().BasePath()); });
}

STDMETHODIMP CCoKorvaHvCtpMngr::put_BasePath(BSTR newVal) {
    return guarded([&] { impl().SetBasePath(win::bstr_text(newVal)); });
}

STDMETHODIMP CCoKorvaHvCtpMngr::AddFile(BSTR FileName, ULONG BlockSize, EAddFileOptions Opts, IAddFileResult** pVal) {
    return guarded(out(pVal), [&] {
        create_internal<CCoAddFileResult>(impl().AddFile(win::bstr_text(FileName), BlockSize, static_cast<std::uint32_t>(Opts)),
                                          pVal);
    });
}

STDMETHODIMP CCoKorvaHvCtpMngr::GetFileID(BSTR FileName, ULONG* pVal) {
    return guarded(out(pVal), [&] { *pVal = impl().GetFileID(win::bstr_text(FileName)); });
}

STDMETHODIMP CCoKorvaHvCtpMngr::RemoveFile(ULONG FileID, ERemoveFileOptions Opts) {
    return guarded([&] { impl().RemoveFile(FileID, static_cast<std::uint32_t>(Opts)); });
}

STDMETHODIMP CCoKorvaHvCtpMngr::GetFileName(ULONG FileID, BSTR* pVal) {
    return guarded(out(pVal), [&] { *pVal = to_bstr(impl().GetFileName(FileID)); });
}

STDMETHODIMP CCoKorvaHvCtpMngr::GetFileCTndex(ULONG FileID, IChangeIndex** pVal) {
    return guarded(out(pVal), [&] { create_internal<CCoChangeIndex>(impl().GetFileCTIndex(FileID), pVal); });
}

STDMETHODIMP CCoKorvaHvCtpMngr::SetFileCTIndex(ULONG FileID, IChangeIndex* pIndex) {
    return guarded(required(pIndex), [&] { impl().SetFileCTIndex(FileID, *copy_of(*pIndex)); });
}

STDMETHODIMP CCoKorvaHvCtpMngr::GetFileStandardInfo(ULONG FileID, IFileStandardInfo** pVal) {
    return guarded(out(pVal), [&] { create_internal<CCoFileStandardInfo>(impl().GetFileStandardInfo(FileID), pVal); });
}

STDMETHODIMP CCoKorvaHvCtpMngr::FlushFileChanges(ULONG FileID, IFileStandardInfo** pVal) {
    return guarded(out(pVal), [&] { create_internal<CCoFileStandardInfo>(impl().FlushFileChanges(FileID), pVal); });
}

STDMETHODIMP CCoKorvaHvCtpMngr::GetFileCache(ULONG FileID, IFileCache** pVal) {
    return guarded(out(pVal), [&] { create_internal<CCoFileCache>(impl().GetFileCache(FileID), pVal); });
}

STDMETHODIMP CCoKorvaHvCtpMngr::SetFileCache(ULONG FileID, IFileCache* pCache) {
    return guarded(required(pCache), [&] { impl().SetFileCache(FileID, *copy_of(*pCache)); });
}

}  // namespace com
