#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "hv/ctp_manager.h"
#include "hv/offhost_vss.h"
#include "hv/onhost_vss.h"
#include "hv/restore_manager.h"
#include "hv/vss_info.h"
#include "rpc/client.h"

namespace impl {

// The entry to the Hyper-V integration service of one host. All that it hands out shares its one connection, keeps it alive,
// and follows its endpoint, account and time-out.
class CKorvaHvIntegrator {
public:
    explicit CKorvaHvIntegrator(std::shared_ptr<win::rpc::CRpcClientBase> client = win::rpc::make_integration_client())
        : client_(std::move(client)) {}

    void SetEndpoint(std::wstring_view host, std::uint32_t port) { client_->SetEndpoint(host, port); }
    // The name is split as every account is; nobody is logged on.
    void SetAccount(std::wstring_view user_name, std::wstring_view password) { client_->SetAccount(user_name, password); }
    void SetRpcTimeout(std::int32_t seconds);

    // Asks the service for a sign of life, once.
    void TestConnection();

    // A new object on every call.
    std::shared_ptr<CKorvaHvOnhostVss> OnhostVss() const { return std::make_shared<CKorvaHvOnhostVss>(client_); }
    std::shared_ptr<CKorvaHvOffhostVss> OffhostVss() const { return std::make_shared<CKorvaHvOffhostVss>(client_); }
    std::shared_ptr<CKorvaVssInfo> VssInfo() const { return std::make_shared<CKorvaVssInfo>(client_); }
    std::shared_ptr<CKorvaHvCtpMngr> CtpMngr() const { return std::make_shared<CKorvaHvCtpMngr>(client_); }
    std::shared_ptr<CKorvaHvRestoreMngr> RestoreMngr() const { return std::make_shared<CKorvaHvRestoreMngr>(client_); }

private:
    const std::shared_ptr<win::rpc::CRpcClientBase> client_;
};

}  // namespace impl
