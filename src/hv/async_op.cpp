#include "hv/async_op.h"

#include <utility>

#include "hv/operation.h"
#include "rpc/commands/hv_snapshots.h"

namespace impl {
namespace {

constexpr hv::operation_t refreshing{
    .start = "Refreshing task state: '%1'. Task ID: '%2'. Host: '%3'.",
    .failure = "Failed to refresh state of the task '%1'. Task ID: '%2'. Host: '%3'.",
};

}  // namespace

CKorvaHvAsyncOp::CKorvaHvAsyncOp(std::wstring task_name, std::shared_ptr<win::rpc::CRpcClientBase> client,
                                 const GUID& operation_id)
    : task_name_(std::move(task_name)),
      client_(std::move(client)),
      operation_id_(operation_id),
      state_({.completed = true, .succeeded = false, .error = {}}) {}

void CKorvaHvAsyncOp::Refresh() {
    hv::run(refreshing, {task_name_, operation_id_, client_->host()}, [&] {
        win::rpc::CHvGetAsyncOpStatusMethod command(operation_id_);
        client_->Call(command);
        state_.set(command.status());
    });
}

}  // namespace impl
