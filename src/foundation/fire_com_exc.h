#pragma once

#include <windows.h>

#include <exception>
#include <string>
#include <string_view>

namespace exc {

// Text that stands in the log and in the error object where an exception has none.
inline constexpr std::string_view no_message = "Exception message is not available.";

// what() as UTF-8: a foreign exception's text is read as code-page text.
std::string text_of(const std::exception& error);

// The line that the log shows for an exception: text_of, or no_message where that is empty.
std::string message_of(const std::exception& error);

// The one way an error leaves a COM method: as an HRESULT, with an error object whose description is the exception's text and
// whose source is the interface `iid`. A win_sys_exc_t keeps its code (as it stands where it is 0 or below, else as
// FACILITY_WIN32); an rpc_exc_t gives 0x80010000 OR its status; bad_alloc gives E_OUTOFMEMORY and sets no error object; all
// else gives DISP_E_EXCEPTION. E_OUTOFMEMORY also where the description cannot be converted.
struct CFireComExcMixin {
    static HRESULT fire_com_exc(const std::exception& error, const IID& iid) noexcept;

    // For something thrown that is no std::exception: DISP_E_EXCEPTION, described by no_message.
    static HRESULT fire_unknown_exc(const IID& iid) noexcept;
};

}  // namespace exc
