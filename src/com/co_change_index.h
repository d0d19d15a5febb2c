#pragma once

#include <memory>

#include "KorvaProxyClient.h"
#include "com/com_object.h"
#include "hv/change_index.h"

namespace com {

class CCoChangeIndex final : public com_object<IChangeIndex, impl::CKorvaChangeIndex> {
public:
    using com_object::com_object;

    STDMETHODIMP get_GenerationID(GUID* pVal) override;
    STDMETHODIMP put_GenerationID(GUID newVal) override;
    STDMETHODIMP get_CurrentIndex(USHORT* pVal) override;
    STDMETHODIMP put_CurrentIndex(USHORT newVal) override;
};

// A copy of an index that a console passes in, read property by property: the
// object may be the console's own. Throws exc::win_sys_exc_t with the result of
// a property that fails.
std::shared_ptr<impl::CKorvaChangeIndex> copy_of(IChangeIndex& source);

}  // namespace com
