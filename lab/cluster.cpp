#include "lab/cluster.h"

#include <algorithm>

#include "foundation/errors.h"
#include "foundation/format.h"

namespace lab {

cluster_t::resource_t& cluster_t::resource(const std::wstring& name) {
    const auto found = std::ranges::find(resources, name, &resource_t::name);
    if (found == resources.end())
        throw exc::runtime_exc_t(text::format("The cluster has no resource '%1'.", name));
    return *found;
}

}  // namespace lab
