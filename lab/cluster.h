#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace lab {

// A failover cluster as one of its nodes sees it.
struct cluster_t {
    struct volume_t {
        std::wstring mount_point;
        bool is_csv = false;  // a cluster shared volume
    };
    struct resource_t {
        std::wstring name;  // of a clustered machine
        std::wstring id;
        unsigned refreshes = 0;  // of its configuration
    };

    std::vector<volume_t> volumes = {
        {LR"(C:\ClusterStorage\Volume1)", true}, {LR"(C:\ClusterStorage\Volume2)", true}, {LR"(Q:\)", false}};
    std::vector<resource_t> resources = {{L"Virtual Machine mail", L"5b0a3c52-7b46-4f6b-8e3e-2f4c9c0d7e01"},
                                         {L"Virtual Machine web", L"5b0a3c52-7b46-4f6b-8e3e-2f4c9c0d7e02"}};
    // Hostile answer: a list of so many volumes that brings none of them.
    std::optional<std::uint32_t> volumes_missing;

    // Throws exc::runtime_exc_t where the cluster has no such resource.
    resource_t& resource(const std::wstring& name);
};

}  // namespace lab
