#pragma once

#include <windows.h>

#include <unknwn.h>

#include "foundation/com_ptr.h"

// An object that makes another a part of itself.
class outer_object final : public IUnknown {
public:
    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override {
        if (iid == IID_IUnknown) {
            AddRef();
            *object = this;
            return S_OK;
        }
        return part->QueryInterface(iid, object);
    }
    STDMETHODIMP_(ULONG) AddRef() noexcept override { return ++references; }
    STDMETHODIMP_(ULONG) Release() noexcept override { return --references; }

    ULONG references = 1;
    win::com_ptr<IUnknown> part;
};
