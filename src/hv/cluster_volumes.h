#pragma once

#include "hv/enumerator.h"
#include "rpc/values.h"

namespace impl {

inline constexpr enumerator_texts_t cluster_volumes_texts{"ECV: Fetch next", "Continue", "End", "ECV: Get current",
                                                          "Bad index in cluster volumes enumerator"};

using CEnumClusterVolumes = CEnumerator<win::rpc::cluster_volume_t>;

}  // namespace impl
