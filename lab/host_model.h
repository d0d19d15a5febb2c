#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "lab/change_tracking.h"
#include "lab/cluster.h"
#include "lab/deployment_model.h"
#include "lab/machine.h"
#include "lab/restore_sessions.h"
#include "lab/snapshots.h"
#include "lab/vss.h"

// The host that the lab pretends to be. The machines are there from the beginning; every theme (snapshots, restore, tracking,
// cluster, ...) adds its own part to host_model in a file of its own.
namespace lab {

struct host_model {
    std::vector<machine_t> machines = default_machines();
    deployment_model_t deployment;
    snapshots_t snapshots;
    restore_sessions_t restore;
    change_tracking_t tracking;
    cluster_t cluster;
    vss_t vss;

    // Throws exc::runtime_exc_t: "There is no virtual machine 'ID'."
    const machine_t& machine(const std::wstring& id) const;

    static std::vector<machine_t> default_machines();
};

// The model, locked as long as this object lives:
//
//   const auto model = lab::host();
//   model->machine(vm).files
class locked_host {
public:
    host_model* operator->() const { return &model_; }
    host_model& operator*() const { return model_; }

private:
    friend locked_host host();
    locked_host(host_model& model, std::recursive_mutex& lock) : guard_(lock), model_(model) {}

    std::unique_lock<std::recursive_mutex> guard_;
    host_model& model_;
};
locked_host host();

// Puts the model back to what it was at the start and ends all failures on demand.
void reset();

}  // namespace lab
