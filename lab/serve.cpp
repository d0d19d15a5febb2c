#include "lab/serve.h"

#include <algorithm>
#include <atomic>
#include <new>

#include "foundation/convert.h"
#include "foundation/errors.h"
#include "foundation/fire_com_exc.h"
#include "lab/failures.h"

extern "C" void* __RPC_USER MIDL_user_allocate(std::size_t size);

namespace lab {
namespace {

// Wine's RPC server sends a reply from the thread that ran the call, and the next call's thread on the same connection can meet
// that unfinished send and wait for it for good. A pause lets the first one end. Windows needs none.
unsigned default_reply_pause() noexcept {
    return ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") ? 5 : 0;
}

std::atomic<unsigned> reply_pause_ms = default_reply_pause();

void answer_failure(rpc_call_result_t* result, std::string_view text) noexcept {
    result->ok = 0;
    try {
        result->message = copy_text(text);
    } catch (...) {
        result->message = nullptr;
    }
}

}  // namespace

void serve(rpc_call_result_t* result, const char* procedure, std::initializer_list<value_t> values,
           const std::function<void()>& step) noexcept {
    try {
        std::string line = procedure;
        for (const value_t& value : values)
            line += ' ' + value.text;
        requests().add(line);

        if (const std::string failure = failure_of(procedure); !failure.empty())
            throw exc::runtime_exc_t(failure);
        step();
        *result = {1, nullptr};
    } catch (const std::exception& error) {
        answer_failure(result, exc::message_of(error));
    }
    if (const unsigned pause = reply_pause_ms)
        ::Sleep(pause);
}

void set_reply_pause(std::optional<unsigned> ms) { reply_pause_ms = ms.value_or(default_reply_pause()); }

void* allocate_zeroed(std::size_t size) {
    void* const block = MIDL_user_allocate(size);
    if (!block)
        throw std::bad_alloc();
    return block;
}

wchar_t* copy_text(std::wstring_view text) {
    wchar_t* const copy = allocate<wchar_t>(text.size() + 1);
    std::ranges::copy(text, copy);
    return copy;
}

wchar_t* copy_text(std::string_view utf8) { return copy_text(text::widen(utf8)); }

unsigned char* copy_bytes(std::span<const unsigned char> bytes) {
    unsigned char* const copy = allocate<unsigned char>(bytes.size());
    std::ranges::copy(bytes, copy);
    return copy;
}

GUID new_guid() {
    GUID guid{};
    ::UuidCreate(&guid);
    return guid;
}

}  // namespace lab
