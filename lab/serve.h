#pragma once

#include <windows.h>

#include <rpc.h>

#include <functional>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "lab/request_log.h"
#include "stubs/call_result.h"

// How every procedure of the lab is written:
//
//   void s_HvGetVMFilesList(handle_t, const GUID* snapshot, const wchar_t* vm, wchar_t** files_xml, rpc_call_result_t* result)
//   {
//       lab::serve(result, "HvGetVMFilesList", {{"snapshot", *snapshot}, {"vm", vm}}, [&] {
//           const auto model = lab::host();
//           *files_xml = lab::copy_text(model->files_list(*snapshot, vm));
//       });
//   }
namespace lab {

// Logs the request, fails where the procedure is told to (failures.h), else runs the step. An exception of the step becomes
// {ok 0, its text}. Nothing is thrown: the caller is a C stub. Outputs that the step does not set stay null or zero.
void serve(rpc_call_result_t* result, const char* procedure, std::initializer_list<value_t> values,
           const std::function<void()>& step) noexcept;

// The pause before each reply, in milliseconds; none is the default: 5 under Wine, whose server half can hang without one
// (serve.cpp says how), else 0.
void set_reply_pause(std::optional<unsigned> ms);

// Outputs are made by the stubs' allocator; the stub frees them once they are sent.
wchar_t* copy_text(std::wstring_view text);
wchar_t* copy_text(std::string_view utf8);
unsigned char* copy_bytes(std::span<const unsigned char> bytes);

void* allocate_zeroed(std::size_t size);

// `count` zeroed records.
template <class Record>
Record* allocate(std::size_t count = 1) {
    return static_cast<Record*>(allocate_zeroed(count * sizeof(Record)));
}

// An identifier that nobody has.
GUID new_guid();

}  // namespace lab
