#pragma once

#include <windows.h>

#include <oleauto.h>

#include "foundation/com_ptr.h"

// The type library in the module's own resources, found without the registry.
namespace com::type_library {

// Loaded once and kept until release(). exc::win_sys_exc_t where it cannot be loaded.
win::com_ptr<ITypeLib> get();

// Description of one of its interfaces.
win::com_ptr<ITypeInfo> interface_info(const IID& iid);

// Called as the module is unloaded.
void release() noexcept;

// In the registry, under the module's path. Both may be repeated.
void register_library();
void unregister_library();

}  // namespace com::type_library
