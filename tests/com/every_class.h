#pragma once

#include <windows.h>

#include <oaidl.h>

#include <vector>

#include "foundation/com_ptr.h"

// Every class with its interface. The objects have no implementation: nothing may reach it.
struct class_row {
    IID iid;
    IUnknown* (*make)(IUnknown* outer);

    win::com_ptr<IDispatch> make_interface() const {
        win::com_ptr<IDispatch> object;
        win::com_ptr<IUnknown>::attach(make(nullptr)).query(object);
        return object;
    }
};
extern const std::vector<class_row> classes;
