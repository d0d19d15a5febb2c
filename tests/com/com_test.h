#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <oleauto.h>

#include <memory>
#include <utility>

#include "com/class_factory.h"
#include "com/create_internal.h"
#include "com/module.h"
#include "foundation/com_ptr.h"
#include "tests/foundation/com_thread.h"
#include "tests/foundation/error_object.h"

// COM on the test's thread; when the test ends, no object of ours may be left and no error object.
class com_test : public com_thread {
protected:
    com_test() { ::SetErrorInfo(0, nullptr); }
    ~com_test() override {
        EXPECT_FALSE(com::module::in_use()) << "objects that nobody released";
        ::SetErrorInfo(0, nullptr);
    }
};

// A new object of a creatable class.
template <class Interface>
win::com_ptr<Interface> create(const CLSID& clsid) {
    win::com_ptr<IClassFactory> factory;
    win::com_ptr<Interface> object;
    EXPECT_EQ(com::get_class_object(clsid, IID_IClassFactory, reinterpret_cast<void**>(factory.put())), S_OK);
    EXPECT_EQ(factory->CreateInstance(nullptr, __uuidof(Interface), reinterpret_cast<void**>(object.put())), S_OK);
    return object;
}

// A new object over this implementation.
template <class Object>
win::com_ptr<typename Object::interface_type> object_over(std::shared_ptr<typename Object::impl_type> impl) {
    win::com_ptr<typename Object::interface_type> object;
    com::create_internal<Object>(std::move(impl), object.put());
    return object;
}
