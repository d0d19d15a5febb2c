#include "hv/integrator.h"

#include "hv/operation.h"
#include "rpc/commands/hv_snapshots.h"

namespace impl {
namespace {

constexpr hv::operation_t testing{
    .start = "Checking whether HvIntegration service is available on '%1:%2'.",
    .failure = "Failed to check whether HvIntegration service is available on '%1:%2'.",
    .done = "Test done.",
};

}  // namespace

void CKorvaHvIntegrator::SetRpcTimeout(std::int32_t seconds) {
    logging::info("KD: Set RPC timeout. Request timeout: [%1] sec.", seconds);  // the deployer's prefix, on purpose
    client_->SetRpcTimeout(seconds);
}

void CKorvaHvIntegrator::TestConnection() {
    hv::run(testing, {client_->host(), client_->port()}, [&] {
        win::rpc::CHvTestConnectionMethod command;
        client_->Call(command);
    });
}

}  // namespace impl
