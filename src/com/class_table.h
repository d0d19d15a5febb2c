#pragma once

#include <windows.h>

#include <unknwn.h>

#include <span>

namespace com {

// One creatable class. Class factories and registration both work from these rows.
struct class_entry {
    const CLSID& clsid;
    const wchar_t* prog_id;  // with its version
    const wchar_t* version_independent_prog_id;
    const wchar_t* description;
    HRESULT (*create)(IUnknown* outer, REFIID iid, void** result);  // create_instance<CCo...> (class_factory.h)
};

std::span<const class_entry> class_table() noexcept;

}  // namespace com
