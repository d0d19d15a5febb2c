#pragma once

#include <windows.h>

#include <unknwn.h>

#include <memory>

#include "com/com_object.h"

namespace com {

// Makes an object of a creatable class with an implementation of its own. An aggregate may ask for IUnknown alone.
template <class Object>
HRESULT create_instance(IUnknown* outer, REFIID iid, void** result) {
    win::com_ptr<IUnknown> creator;
    const HRESULT made = guarded(__uuidof(typename Object::interface_type), {true}, [&] {
        Object* const object = new_object<Object>(outer, std::make_shared<typename Object::impl_type>());
        if (!object)
            throw std::bad_alloc();
        creator = win::com_ptr<IUnknown>::attach(object->inner());
    });
    return FAILED(made) ? made : creator->QueryInterface(iid, result);
}

// Hands out the class's one factory, which lives as long as the module: every client gets the same one, and a reference to it
// is nothing but a lock of the module. CLASS_E_CLASSNOTAVAILABLE for an unknown class.
HRESULT get_class_object(REFCLSID clsid, REFIID iid, void** result) noexcept;

}  // namespace com
