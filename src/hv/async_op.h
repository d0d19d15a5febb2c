#pragma once

#include <windows.h>

#include <memory>
#include <string>

#include "hv/shared_record.h"
#include "rpc/client.h"
#include "rpc/values.h"

namespace impl {

// Work that a host does after it was started by a command: a console polls it by Refresh, at its own pace, until it has
// completed. Before the first Refresh it reads completed and not succeeded, on purpose. The operation is never released on the
// host, which lets its identifier expire.
class CKorvaHvAsyncOp {
public:
    // `task_name` names the kind of work in log lines and errors.
    CKorvaHvAsyncOp(std::wstring task_name, std::shared_ptr<win::rpc::CRpcClientBase> client, const GUID& operation_id);

    // What the last Refresh reported; none of these talks to the host.
    bool IsCompleted() const { return state_.value().completed; }
    bool IsSucceeded() const { return state_.value().succeeded; }
    std::wstring ErrDescription() const { return state_.value().error; }
    const GUID& OperationID() const noexcept { return operation_id_; }

    // Asks the host. A failure leaves the state as it was.
    void Refresh();

private:
    const std::wstring task_name_;
    const std::shared_ptr<win::rpc::CRpcClientBase> client_;
    const GUID operation_id_;
    hv::shared_record_t<win::rpc::async_status_t> state_;  // consoles read in one thread and poll in another
};

}  // namespace impl
