#pragma once

#include "KorvaProxyClient.h"
#include "com/com_object.h"
#include "hv/ctp_manager.h"

namespace com {

class CCoKorvaHvCtpMngr final : public com_object<IKorvaHvCtpMngr, impl::CKorvaHvCtpMngr> {
public:
    using com_object::com_object;

    STDMETHODIMP Init() override;
    STDMETHODIMP GetVersion(USHORT* pCompatibleVersion, USHORT* pCurrentVersion) override;
    STDMETHODIMP get_BasePath(BSTR* pVal) override;
    STDMETHODIMP put_BasePath(BSTR newVal) override;
    STDMETHODIMP AddFile(BSTR FileName, ULONG BlockSize, EAddFileOptions Opts, IAddFileResult** pVal) override;
    STDMETHODIMP GetFileID(BSTR FileName, ULONG* pVal) override;
    STDMETHODIMP RemoveFile(ULONG FileID, ERemoveFileOptions Opts) override;
    STDMETHODIMP GetFileName(ULONG FileID, BSTR* pVal) override;
    STDMETHODIMP GetFileCTndex(ULONG FileID, IChangeIndex** pVal) override;
    STDMETHODIMP SetFileCTIndex(ULONG FileID, IChangeIndex* pIndex) override;
    STDMETHODIMP GetFileStandardInfo(ULONG FileID, IFileStandardInfo** pVal) override;
    STDMETHODIMP FlushFileChanges(ULONG FileID, IFileStandardInfo** pVal) override;
    STDMETHODIMP GetFileCache(ULONG FileID, IFileCache** pVal) override;
    STDMETHODIMP SetFileCache(ULONG FileID, IFileCache* pCache) override;
};

}  // namespace com
