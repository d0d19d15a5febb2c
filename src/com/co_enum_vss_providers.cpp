#include "com/co_enum_vss_providers.h"

#include "com/conversions.h"
#include "com/create_internal.h"

namespace com {

STDMETHODIMP CCoEnumVSSProviders::Next(VARIANT_BOOL* pVal) {
    return guarded(out(pVal), [&] { *pVal = to_variant_bool(impl().Next()); });
}

STDMETHODIMP CCoEnumVSSProviders::get_Current(IVSSProviderInfo** pVal) {
    return guarded(out(pVal), [&] { *pVal = win::com_ptr(*impl().Current()).detach(); });
}

STDMETHODIMP CCoVSSProviderInfo::get_ID(GUID* pVal) {
    return guarded(out(pVal), [&] { *pVal = impl().id; });
}

STDMETHODIMP CCoVSSProviderInfo::get_Name(BSTR* pVal) {
    return guarded(out(pVal), [&] { *pVal = to_bstr(impl().name); });
}

STDMETHODIMP CCoVSSProviderInfo::get_Type(EVSSProviderType* pVal) {
    return guarded(out(pVal), [&] { *pVal = static_cast<EVSSProviderType>(impl().type); });
}

STDMETHODIMP CCoVSSProviderInfo::get_Version(BSTR* pVal) {
    return guarded(out(pVal), [&] { *pVal = to_bstr(impl().version); });
}

STDMETHODIMP CCoVSSProviderInfo::get_VersionID(GUID* pVal) {
    return guarded(out(pVal), [&] { *pVal = impl().version_id; });
}

std::shared_ptr<impl::CEnumVSSProviders> enumerate(std::vector<impl::CVssProviderInfo> providers) {
    std::vector<win::com_ptr<IVSSProviderInfo>> objects;
    for (impl::CVssProviderInfo& provider : providers) {
        win::com_ptr<IVSSProviderInfo> object;
        create_internal<CCoVSSProviderInfo>(std::make_shared<impl::CVssProviderInfo>(std::move(provider)), object.put());
        objects.push_back(std::move(object));
    }
    return std::make_shared<impl::CEnumVSSProviders>(std::move(objects), impl::vss_providers_texts);
}

}  // namespace com
