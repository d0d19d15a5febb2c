#include "lab/host_model.h"

#include <algorithm>

#include "foundation/errors.h"
#include "foundation/format.h"
#include "lab/failures.h"

namespace lab {

std::vector<machine_t> host_model::default_machines() {
    return {
        {L"6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d01",
         L"mail",
         {LR"(C:\ClusterStorage\Volume1\mail\mail.xml)", LR"(C:\ClusterStorage\Volume1\mail\system.vhd)",
          LR"(C:\ClusterStorage\Volume1\mail\store.vhd)"}},
        {L"6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d02", L"web", {LR"(D:\vm\web\web.xml)", LR"(D:\vm\web\system.vhd)"}},
        {L"6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d03",
         L"отчёты",
         {LR"(E:\vm\отчёты\отчёты.xml)", LR"(E:\vm\отчёты\数据库.vhdx)", LR"(E:\vm\отчёты\😀 & co.vhdx)"}},
    };
}

const machine_t& host_model::machine(const std::wstring& id) const {
    const auto found = std::ranges::find(machines, id, &machine_t::id);
    if (found == machines.end())
        throw exc::runtime_exc_t(text::format("There is no virtual machine '%1'.", id));
    return *found;
}

namespace {

host_model& model() {
    static host_model instance;
    return instance;
}

}  // namespace

locked_host host() {
    static std::recursive_mutex lock;
    return locked_host(model(), lock);
}

void reset() {
    clear_failures();
    *host() = host_model();
}

}  // namespace lab
