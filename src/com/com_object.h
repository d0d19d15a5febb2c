#pragma once

#include <windows.h>

#include <oaidl.h>

#include <atomic>
#include <memory>
#include <new>
#include <utility>

#include "com/guarded.h"
#include "com/module.h"
#include "com/type_library.h"

namespace com {

// What every COM object is made of: IUnknown (also as the inner part of an aggregate), IDispatch from the type library,
// ISupportErrorInfo for its one dual interface, and a shared implementation object in plain C++. A class adds only the
// methods of its interface, each of them one guard and one call:
//
//   class CCoHvVssSnapshot final : public com_object<IKorvaHvVssSnapshot, impl::CKorvaHvVssSnapshot> {
//   public:
//       using com_object::com_object;
//       STDMETHODIMP get_WriterDocument(BSTR* document) override {
//           return guarded(out(document), [&] { *document = to_bstr(impl().WriterDocument()); });
//       }
//   };
//
// A method that returns another object calls create_internal (create_internal.h); a class that clients create stands in the
// class table (class_table.cpp).
template <class Interface, class Impl>
class com_object : public Interface, public ISupportErrorInfo {
public:
    using interface_type = Interface;
    using impl_type = Impl;

    // `outer` is the controlling object of an aggregate, or null. The object begins with one reference to inner().
    com_object(IUnknown* outer, std::shared_ptr<Impl> impl) noexcept
        : inner_(*this), outer_(outer ? outer : &inner_), impl_(std::move(impl)) {}
    com_object(const com_object&) = delete;
    com_object& operator=(const com_object&) = delete;
    virtual ~com_object() = default;

    // The object's own IUnknown, which counts its references and never asks the controlling object.
    IUnknown* inner() noexcept { return &inner_; }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept final { return outer_->QueryInterface(iid, object); }
    STDMETHODIMP_(ULONG) AddRef() noexcept final { return outer_->AddRef(); }
    STDMETHODIMP_(ULONG) Release() noexcept final { return outer_->Release(); }

    STDMETHODIMP GetTypeInfoCount(UINT* count) noexcept final {
        return guarded(out(count), [&] { *count = 1; });
    }
    STDMETHODIMP GetTypeInfo(UINT index, LCID, ITypeInfo** info) noexcept final {
        const HRESULT result = guarded(out(info), [&] {
            if (index == 0)
                *info = type_library::interface_info(__uuidof(Interface)).detach();
        });
        return result == S_OK && index != 0 ? DISP_E_BADINDEX : result;
    }
    STDMETHODIMP GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID, DISPID* ids) noexcept final {
        if (iid != IID_NULL)
            return DISP_E_UNKNOWNINTERFACE;
        return with_type_info(required(names, ids), [&](ITypeInfo* info) { return info->GetIDsOfNames(names, count, ids); });
    }
    STDMETHODIMP Invoke(DISPID member, REFIID iid, LCID, WORD flags, DISPPARAMS* params, VARIANT* result, EXCEPINFO* exception,
                        UINT* bad_argument) noexcept final {
        if (iid != IID_NULL)
            return DISP_E_UNKNOWNINTERFACE;
        return with_type_info(required(params), [&](ITypeInfo* info) {
            return info->Invoke(static_cast<Interface*>(this), member, flags, params, result, exception, bad_argument);
        });
    }

    STDMETHODIMP InterfaceSupportsErrorInfo(REFIID iid) noexcept final { return iid == __uuidof(Interface) ? S_OK : S_FALSE; }

protected:
    Impl& impl() const noexcept { return *impl_; }
    const std::shared_ptr<Impl>& shared_impl() const noexcept { return impl_; }

    template <class Body>
    static HRESULT guarded(pointers_t pointers, Body&& body) noexcept {
        return com::guarded(__uuidof(Interface), pointers, std::forward<Body>(body));
    }
    template <class Body>
    static HRESULT guarded(Body&& body) noexcept {
        return guarded({true}, std::forward<Body>(body));
    }

private:
    class inner_unknown final : public IUnknown {
    public:
        explicit inner_unknown(com_object& owner) noexcept : owner_(owner) {}

        STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override {
            if (!object)
                return E_POINTER;
            *object = nullptr;
            if (iid == IID_IUnknown)
                *object = static_cast<IUnknown*>(this);
            else if (iid == IID_IDispatch || iid == __uuidof(Interface))
                *object = static_cast<Interface*>(&owner_);
            else if (iid == IID_ISupportErrorInfo)
                *object = static_cast<ISupportErrorInfo*>(&owner_);
            else
                return E_NOINTERFACE;
            static_cast<IUnknown*>(*object)->AddRef();
            return S_OK;
        }
        STDMETHODIMP_(ULONG) AddRef() noexcept override { return references_.fetch_add(1, std::memory_order_relaxed) + 1; }
        STDMETHODIMP_(ULONG) Release() noexcept override {
            const ULONG left = references_.fetch_sub(1, std::memory_order_acq_rel) - 1;
            if (left == 0) {
                references_ = 1;  // whoever takes and gives back a reference while the object goes must not end it again
                delete &owner_;
            }
            return left;
        }

    private:
        com_object& owner_;
        std::atomic<ULONG> references_{1};
    };

    // The called member sets the error object and Invoke reads it, so nothing here may clear it afterwards.
    template <class Body>
    HRESULT with_type_info(pointers_t pointers, Body&& body) noexcept {
        win::com_ptr<ITypeInfo> info;
        const HRESULT result = guarded(pointers, [&] { info = type_library::interface_info(__uuidof(Interface)); });
        return FAILED(result) ? result : body(info.get());
    }

    const module::reference module_;
    inner_unknown inner_;
    IUnknown* const outer_;  // not counted: the controlling object owns this one
    const std::shared_ptr<Impl> impl_;
};

// A new object over the given implementation, with one reference to its inner(); null where there is no memory.
template <class Object>
Object* new_object(IUnknown* outer, std::shared_ptr<typename Object::impl_type> impl) noexcept {
    return new (std::nothrow) Object(outer, std::move(impl));
}

}  // namespace com
