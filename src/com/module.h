#pragma once

#include <windows.h>

#include <string>

// The module as COM sees it: what keeps it loaded, and where it lies. A test program that links the library is its own module.
namespace com::module {

// The application that all classes are registered under.
inline constexpr wchar_t app_id[] = L"{D88799BF-EE46-44CB-9204-C00BF04D70D0}";

// One lock for each live object, each reference to a class factory and each LockServer(TRUE).
void lock() noexcept;
void unlock() noexcept;
bool in_use() noexcept;

HMODULE handle() noexcept;

// Full path of the module's file; exc::win_sys_exc_t where it cannot be had.
std::wstring path();

// Counted while it lives; the first member of every COM object, so that it goes last.
class reference {
public:
    reference() noexcept { lock(); }
    reference(const reference&) = delete;
    reference& operator=(const reference&) = delete;
    ~reference() { unlock(); }
};

}  // namespace com::module
