#pragma once

#include <memory>
#include <utility>

#include "com/com_object.h"
#include "foundation/errors.h"

namespace com {

// The one routine by which methods hand out objects that clients cannot create themselves: a new object over the shared
// implementation, whose interface goes to the caller's out-parameter with one reference.
//
//   return guarded(out(value), [&] { create_internal<CCoHvAsyncOp>(impl().BeginSnapshotCreation(...), value); });
template <class Object, class Interface>
void create_internal(std::shared_ptr<typename Object::impl_type> impl, Interface** result) {
    Object* const object = new_object<Object>(nullptr, std::move(impl));
    if (!object)
        throw exc::win_sys_exc_t("Failed to create class instance.", static_cast<std::uint32_t>(E_OUTOFMEMORY));
    const auto creator = win::com_ptr<IUnknown>::attach(object->inner());
    if (FAILED(creator->QueryInterface(__uuidof(Interface), reinterpret_cast<void**>(result))))
        throw exc::runtime_exc_t("Failed to query requested interface.");
}

}  // namespace com
