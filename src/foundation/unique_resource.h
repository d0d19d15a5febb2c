#pragma once

#include <windows.h>

namespace win {

// Owner of one platform handle. A trait names the handle type, its invalid value and how it is closed:
//
//   struct service_traits { using handle = SC_HANDLE; static handle invalid() noexcept { return nullptr; }
//                           static void close(handle h) noexcept { ::CloseServiceHandle(h); } };
//   using unique_service = win::unique_resource<service_traits>;
//
// Closing keeps the thread's last error, so that an owner that goes out of scope never disturbs the error being reported.
template <class Traits>
class unique_resource {
public:
    using handle = typename Traits::handle;

    unique_resource() noexcept = default;
    explicit unique_resource(handle h) noexcept : handle_(h) {}
    unique_resource(unique_resource&& other) noexcept : handle_(other.release()) {}
    unique_resource& operator=(unique_resource&& other) noexcept {
        if (this != &other)
            reset(other.release());
        return *this;
    }
    ~unique_resource() { reset(); }

    handle get() const noexcept { return handle_; }
    explicit operator bool() const noexcept { return handle_ != Traits::invalid(); }

    // For calls that return the handle through an out-parameter; whatever was held is closed first.
    handle* put() noexcept {
        reset();
        return &handle_;
    }

    handle release() noexcept {
        const handle h = handle_;
        handle_ = Traits::invalid();
        return h;
    }

    void reset(handle h = Traits::invalid()) noexcept {
        if (handle_ != Traits::invalid()) {
            const DWORD last_error = ::GetLastError();
            Traits::close(handle_);
            ::SetLastError(last_error);
        }
        handle_ = h;
    }

private:
    handle handle_ = Traits::invalid();
};

}  // namespace win
