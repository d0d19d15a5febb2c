#pragma once

#include <cstddef>
#include <string>
#include <utility>

namespace win::rpc {

// Gives a block back to the RPC allocator (MIDL_user_free). A failure inside it is logged, never thrown.
void free_rpc_buffer(void* block) noexcept;

// Bytes of data that a block of the RPC allocator has room for, at most 7 more than it was made for; 0 for null. What a reply
// says about its own sizes is checked against this.
std::size_t rpc_buffer_size(const void* block) noexcept;

// A copy of a string in RPC memory, which is never read beyond its block; empty for null.
std::wstring text_of(const wchar_t* rpc_string);

// Frees what a reply's record points to. Records that hold pointers have specialisations of it (reply_records.h).
template <class T>
struct reply_members {
    static void free(T&) noexcept {}
};

// Owner of a buffer that the RPC runtime allocated for an output, with all that the buffer points to.
template <class T>
class CRpcScopedBuf {
public:
    CRpcScopedBuf() noexcept = default;
    explicit CRpcScopedBuf(T* buffer) noexcept : buffer_(buffer) {}
    CRpcScopedBuf(CRpcScopedBuf&& other) noexcept : buffer_(std::exchange(other.buffer_, nullptr)) {}
    CRpcScopedBuf& operator=(CRpcScopedBuf&& other) noexcept {
        reset(std::exchange(other.buffer_, nullptr));
        return *this;
    }
    ~CRpcScopedBuf() { reset(); }

    T* get() const noexcept { return buffer_; }
    std::size_t bytes() const noexcept { return rpc_buffer_size(buffer_); }

    void reset(T* buffer = nullptr) noexcept {
        T* const old = std::exchange(buffer_, buffer);
        if (old && old != buffer) {
            reply_members<T>::free(*old);
            free_rpc_buffer(old);
        }
    }

private:
    T* buffer_ = nullptr;
};

}  // namespace win::rpc
