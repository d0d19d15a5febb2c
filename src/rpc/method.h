#pragma once

#include <string_view>

#include "rpc/catalogue.h"
#include "rpc/scoped_buf.h"

namespace win::rpc {

using binding_t = void*;  // an RPC_BINDING_HANDLE

// What a remote procedure answers behind its outputs; owns the message.
struct rpc_call_result_t {
    signed char ok = 0;              // not zero: the service completed the command
    CRpcScopedBuf<wchar_t> message;  // the service's own text where it did not; may be null
};

// One remote procedure with its inputs and outputs. The client runs Execute, perhaps several times under its retry rules, then
// CheckResult; after that the owner reads the outputs. They stay empty where the command failed.
class IRpcMethod {
public:
    virtual ~IRpcMethod() = default;
    // One call on the binding. Throws exc::rpc_exc_t with the status that the RPC runtime raised.
    virtual void Execute(binding_t binding) = 0;
    virtual std::string_view GetName() const = 0;
    // Throws exc::runtime_exc_t with the service's own text (empty where it sent none) when the service reported a failure.
    virtual void CheckResult() = 0;
    // May the client rebuild its binding for this command, or repeat the call?
    virtual bool CanReconnect() const = 0;
    virtual bool CanRetry() const = 0;
    virtual rpc_call_result_t DoCall(binding_t binding) = 0;
};

class CRpcMethodBase : public IRpcMethod {
public:
    CRpcMethodBase(const CRpcMethodBase&) = delete;
    CRpcMethodBase& operator=(const CRpcMethodBase&) = delete;

    void Execute(binding_t binding) override;
    std::string_view GetName() const override { return row_.name; }
    void CheckResult() override;
    bool CanReconnect() const override { return true; }
    bool CanRetry() const override { return true; }

protected:
    explicit CRpcMethodBase(const command_t& command) noexcept : row_(command) {}

    // Throws exc::runtime_exc_t for a reply whose parts do not fit together; `what` says which.
    [[noreturn]] void bad_reply(std::string_view what) const;

    // The record of a reply that must have one.
    template <class T>
    const T& required(const CRpcScopedBuf<T>& record) const {
        if (!record.get())
            bad_reply("its record is missing");
        return *record.get();
    }

    // Checks a count that the service sent against what it brought.
    void check_list(bool has_entries, std::size_t held, std::size_t count) const;

private:
    const command_t& row_;
    rpc_call_result_t result_;
};

}  // namespace win::rpc
