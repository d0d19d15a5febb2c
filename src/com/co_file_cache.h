#pragma once

#include <memory>

#include "KorvaProxyClient.h"
#include "com/com_object.h"
#include "hv/file_cache.h"

namespace com {

class CCoFileCache final : public com_object<IFileCache, impl::CKorvaFileCache> {
public:
    using com_object::com_object;

    STDMETHODIMP get_MaxFlatSize(MIDL_uhyper* pVal) override;
    STDMETHODIMP put_MaxFlatSize(MIDL_uhyper newVal) override;
    STDMETHODIMP get_MaxIndirectSize(MIDL_uhyper* pVal) override;
    STDMETHODIMP put_MaxIndirectSize(MIDL_uhyper newVal) override;
};

// A copy of limits that a console passes in, as copy_of(IChangeIndex&).
std::shared_ptr<impl::CKorvaFileCache> copy_of(IFileCache& source);

}  // namespace com
