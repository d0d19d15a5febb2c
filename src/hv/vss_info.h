#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "hv/enumerator.h"
#include "rpc/client.h"
#include "rpc/values.h"

namespace impl {

// One VSS provider of the host, copied out of its answer.
using CVssProviderInfo = win::rpc::vss_provider_t;

// The walk over them is silent.
inline constexpr enumerator_texts_t vss_providers_texts{nullptr, nullptr, nullptr, nullptr,
                                                        "Bad index in the VSS providers enumerator."};

// What a host says about its VSS set-up. Answers pass through unread.
class CKorvaVssInfo {
public:
    explicit CKorvaVssInfo(std::shared_ptr<win::rpc::CRpcClientBase> client) : client_(std::move(client)) {}

    std::vector<CVssProviderInfo> VSSProviders();
    // The questions go out in their order; none at all is an empty list.
    std::wstring IsVolumesSupported(std::vector<win::rpc::volume_request_t> questions);
    // Throws exc::runtime_exc_t with the server's name above the error that it met; the others pass errors on as they come.
    std::wstring CollectHvWriterDoc();

private:
    const std::shared_ptr<win::rpc::CRpcClientBase> client_;
};

}  // namespace impl
