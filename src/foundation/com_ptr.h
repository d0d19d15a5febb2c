#pragma once

#include <windows.h>

#include <unknwn.h>

#include <utility>

namespace win {

// Owner of one reference to a COM object.
template <class T>
class com_ptr {
public:
    com_ptr() noexcept = default;
    explicit com_ptr(T* shared) noexcept : object_(shared) { add_ref(); }
    com_ptr(const com_ptr& other) noexcept : object_(other.object_) { add_ref(); }
    com_ptr(com_ptr&& other) noexcept : object_(other.detach()) {}
    com_ptr& operator=(com_ptr other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ~com_ptr() { reset(); }

    // Takes over a reference that the caller holds.
    static com_ptr attach(T* owned) noexcept {
        com_ptr pointer;
        pointer.object_ = owned;
        return pointer;
    }
    T* detach() noexcept { return std::exchange(object_, nullptr); }
    void reset() noexcept {
        if (T* const object = detach())
            object->Release();
    }

    T* get() const noexcept { return object_; }
    T* operator->() const noexcept { return object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }

    // For calls that return an interface through an out-parameter; whatever was held is released first.
    T** put() noexcept {
        reset();
        return &object_;
    }

    // Interfaces whose header declares no identifier (those of the XML DOM) name it.
    template <class Other>
    HRESULT query(com_ptr<Other>& other, const IID& iid = __uuidof(Other)) const noexcept {
        return object_->QueryInterface(iid, reinterpret_cast<void**>(other.put()));
    }

private:
    void add_ref() const noexcept {
        if (object_)
            object_->AddRef();
    }

    T* object_ = nullptr;
};

}  // namespace win
