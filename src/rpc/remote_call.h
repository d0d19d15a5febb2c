#pragma once

#include <rpc.h>
#include <windows.h>

#include <span>
#include <tuple>
#include <type_traits>
#include <utility>

#include "foundation/errors.h"
#include "rpc/method.h"
#include "rpc/remote_file.h"
#include "rpc/reply_records.h"
#include "rpc/seh_guard.h"
#include "stubs/call_result.h"

// How a command calls its stub: in one line, with the inputs as they are and the outputs by out().
//
//   return remote_call(::HvCtpGetFileName, binding, file_id_, out(name_));
//
// Include this only where a command's DoCall is written; it brings the stubs' headers.
namespace win::rpc {

// Outputs. Each gives the stub a raw place of its own; what the runtime left there is taken over when the call is back, also
// after a failure, and reaches the command only where the service said that it succeeded.
template <class T>
struct buffer_out {
    CRpcScopedBuf<T>* holder;
    T* raw = nullptr;

    operator T**() noexcept { return &raw; }
    void settle(bool ok) noexcept {
        CRpcScopedBuf<T> reply(raw);
        if (ok)
            *holder = std::move(reply);
    }
};

template <class T, class Wire>
struct value_out {
    T* target;
    Wire raw{};

    operator Wire*() noexcept { return &raw; }
    void settle(bool ok) noexcept {
        if (ok)
            *target = static_cast<T>(raw);
    }
};

struct file_out {
    unique_remote_file* holder;
    void* raw = nullptr;

    operator void**() noexcept { return &raw; }
    void settle(bool ok) noexcept {
        unique_remote_file reply(raw);
        if (ok)
            *holder = std::move(reply);
    }
};

// In and out: the runtime clears the handle of a file that the service closed; any other stays with its owner.
struct file_in_out {
    unique_remote_file* holder;
    void* raw;

    operator void**() noexcept { return &raw; }
    void settle(bool) noexcept { holder->reset(raw); }
};

template <class T>
buffer_out<T> out(CRpcScopedBuf<T>& holder) noexcept {
    return {&holder};
}
template <class T>
value_out<T, T> out(T& target) noexcept {
    return {&target};
}
inline value_out<std::uint32_t, ULONG> out(std::uint32_t& target) noexcept { return {&target}; }
inline file_out out(unique_remote_file& holder) noexcept { return {&holder}; }
inline file_in_out in_out(unique_remote_file& holder) noexcept { return {&holder, holder.release()}; }

template <class Arg>
concept output_arg = requires(Arg arg) {
    arg.settle(true);
};

// Throws exc::rpc_exc_t with the status that the runtime raised.
template <class Stub, class... Args>
rpc_call_result_t remote_call(Stub* stub, binding_t binding, Args... args) {
    struct frame_t {
        Stub* stub;
        binding_t binding;
        std::tuple<Args...> args;
        ::rpc_call_result_t result;

        static void run(void* place) {
            auto& self = *static_cast<frame_t*>(place);
            std::apply([&self](auto&... arg) { self.stub(self.binding, arg..., &self.result); }, self.args);
        }
    };
    static_assert(std::is_trivially_destructible_v<frame_t>, "a raised status unwinds the frame without destructors");

    frame_t frame{stub, binding, {args...}, {}};
    const unsigned long status = ::korva_seh_guard(&frame_t::run, &frame);
    const bool ok = status == 0 && frame.result.ok != 0;

    rpc_call_result_t result{frame.result.ok, CRpcScopedBuf<wchar_t>(frame.result.message)};
    const auto settle = [ok](auto& arg) {
        if constexpr (output_arg<decltype(arg)>)
            arg.settle(ok);
    };
    std::apply([&settle](auto&... arg) { (settle(arg), ...); }, frame.args);
    if (status != 0)
        throw exc::rpc_exc_t(status);
    return result;
}

// The stubs take no null for an array, not even for an empty one.
template <class T>
const T* in_array(std::span<const T> values) noexcept {
    static const T nothing{};
    return values.empty() ? &nothing : values.data();
}

// A text as the stubs take it. They measure it themselves, so one with a zero character inside would arrive cut short and
// name something else: it throws exc::win_sys_exc_t with E_INVALIDARG (0x80070057) and nothing is sent. Without const, for the
// stubs' records; nothing writes to an input.
inline wchar_t* in_text(const std::wstring& text) {
    if (text.find(L'\0') != std::wstring::npos)
        throw exc::win_sys_exc_t("A text that holds a zero character cannot be sent.",
                                 static_cast<std::uint32_t>(E_INVALIDARG));
    return const_cast<wchar_t*>(text.c_str());
}

}  // namespace win::rpc
