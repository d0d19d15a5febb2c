#pragma once

#include <memory>
#include <vector>

#include "KorvaProxyClient.h"
#include "com/com_object.h"
#include "hv/enumerator.h"
#include "hv/vss_info.h"

namespace impl {

// Over the objects themselves, so that Current gives the same one on every call
// for one index.
using CEnumVSSProviders = CEnumerator<win::com_ptr<IVSSProviderInfo>>;

}  // namespace impl

namespace com {

class CCoEnumVSSProviders final : public com_object<IEnumVSSProviders, impl::CEnumVSSProviders> {
public:
    using com_object::com_object;

    STDMETHODIMP Next(VARIANT_BOOL* pVal) override;
    STDMETHODIMP get_Current(IVSSProviderInfo** pVal) override;
};

class CCoVSSProviderInfo final : public com_object<IVSSProviderInfo, impl::CVssProviderInfo> {
public:
    using com_object::com_object;

    STDMETHODIMP get_ID(GUID* pVal) override;
    STDMETHODIMP get_Name(BSTR* pVal) override;
    STDMETHODIMP get_Type(EVSSProviderType* pVal) override;
    STDMETHODIMP get_Version(BSTR* pVal) override;
    STDMETHODIMP get_VersionID(GUID* pVal) override;
};

// Makes the provider objects and an enumerator over them.
std::shared_ptr<impl::CEnumVSSProviders> enumerate(std::vector<impl::CVssProviderInfo> providers);

}  // namespace com
