#include "com/co_change_index.h"

#include "com/check.h"

namespace com {

STDMETHODIMP CCoChangeIndex::get_GenerationID(GUID* pVal) {
    return guarded(out(pVal), [&] { *pVal = impl().GenerationID(); });
}

STDMETHODIMP CCoChangeIndex::put_GenerationID(GUID newVal) {
    return guarded([&] { impl().SetGenerationID(newVal); });
}

STDMETHODIMP CCoChangeIndex::get_CurrentIndex(USHORT* pVal) {
    return guarded(out(pVal), [&] { *pVal = impl().CurrentIndex(); });
}

STDMETHODIMP CCoChangeIndex::put_CurrentIndex(USHORT newVal) {
    return guarded([&] { impl().SetCurrentIndex(newVal); });
}

std::shared_ptr<impl::CKorvaChangeIndex> copy_of(IChangeIndex& source) {
    win::rpc::change_index_t value;
    check(source.get_GenerationID(&value.generation_id), "Failed to get generation id");
    check(source.get_CurrentIndex(&value.current_index), "Failed to get current changes index");
    return std::make_shared<impl::CKorvaChangeIndex>(value);
}

}  // namespace com
