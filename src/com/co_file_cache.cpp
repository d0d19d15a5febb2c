#include "com/co_file_cache.h"

#include "com/check.h"

namespace com {

STDMETHODIMP CCoFileCache::get_MaxFlatSize(MIDL_uhyper* pVal) {
    return guarded(out(pVal), [&] { *pVal = impl().MaxFlatSize(); });
}

STDMETHODIMP CCoFileCache::put_MaxFlatSize(MIDL_uhyper newVal) {
    return guarded([&] { impl().SetMaxFlatSize(newVal); });
}

STDMETHODIMP CCoFileCache::get_MaxIndirectSize(MIDL_uhyper* pVal) {
    return guarded(out(pVal), [&] { *pVal = impl().MaxIndirectSize(); });
}

STDMETHODIMP CCoFileCache::put_MaxIndirectSize(MIDL_uhyper newVal) {
    return guarded([&] { impl().SetMaxIndirectSize(newVal); });
}

std::shared_ptr<impl::CKorvaFileCache> copy_of(IFileCache& source) {
    win::rpc::file_cache_t value;
    check(source.get_MaxFlatSize(&value.max_flat_size), "Failed to get max flat size");
    check(source.get_MaxIndirectSize(&value.max_indirect_size), "Failed to get max indirect size");
    return std::make_shared<impl::CKorvaFileCache>(value);
}

}  // namespace com
