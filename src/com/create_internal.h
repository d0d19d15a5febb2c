#pragma once

#include <memory>
#include <utility>

#include "com/com_object.h"
#include "foundation/com_ptr.h"
#include "foundation/errors.h"

namespace com {

// The one routine by which methods hand out objects that clients cannot create themselves: a new object over the shared
// implementation, whose interface goes to the caller's out-parameter with one reference.
//
//   return guarded(out(value), [&] { create_internal<CCoKorvaHvOnhostVss>(impl().OnhostVss(), value); });
template <class Object, class Interface>
void create_internal(std::shared_ptr<typename Object::impl_type> impl, Interface** result) {
    Object* const object = new_object<Object>(nullptr, std::move(impl));
    if (!object)
        throw exc::win_sys_exc_t("Failed to create class instance.", static_cast<std::uint32_t>(E_OUTOFMEMORY));
    const auto creator = win::com_ptr<IUnknown>::attach(object->inner());
    if (FAILED(creator->QueryInterface(__uuidof(Interface), reinterpret_cast<void**>(result))))
        throw exc::runtime_exc_t("Failed to query requested interface.");
}

// The same inside an operation that makes the implementation and hands it over, so that a failure to create the object is the
// operation's; the caller gets it when the whole operation has succeeded.
//
//   create_within<CCoHvAsyncOp>(value, [&](const auto& hand_over) { impl().BeginSnapshotCreation(..., hand_over); });
template <class Object, class Interface, class Operation>
void create_within(Interface** result, Operation&& operation) {
    win::com_ptr<Interface> object;
    std::forward<Operation>(operation)(
        [&](std::shared_ptr<typename Object::impl_type> impl) { create_internal<Object>(std::move(impl), object.put()); });
    *result = object.detach();
}

}  // namespace com
