#include "lab/snapshots.h"

#include <algorithm>

#include "foundation/errors.h"
#include "foundation/format.h"
#include "lab/serve.h"
#include "lab/snapshot_documents.h"

namespace lab {

GUID snapshots_t::begin_creation(const std::vector<machine_t>& machines, const std::wstring& specification,
                                 const std::wstring& job, const std::wstring& console) {
    const snapshot_specification_t wanted = read_specification(specification);
    operation_t creation;
    creation.polls_left = wanted.polls.value_or(polls);
    creation.failure = wanted.failure.value_or(failure);
    creation.result.job = job;
    creation.result.console = console;
    for (const machine_t& machine : machines)
        if (wanted.machines.empty() || std::ranges::count(wanted.machines, machine.id))
            creation.result.machines.push_back(machine);
    for (const std::wstring& id : wanted.machines)
        if (!std::ranges::count(machines, id, &machine_t::id))
            throw exc::runtime_exc_t(text::format("There is no virtual machine '%1'.", id));
    return begin(std::move(creation));
}

GUID snapshots_t::begin_import(const std::wstring& backup_document, const std::wstring& shadow_ids, const std::wstring& job,
                               const std::wstring& console) {
    imported_t wanted = read_import(backup_document, shadow_ids);
    check_not_imported(wanted);
    operation_t import;
    import.polls_left = polls;
    import.failure = failure;
    import.result.imported = std::move(wanted);
    import.result.job = job;
    import.result.console = console;
    return begin(std::move(import));
}

GUID snapshots_t::begin(operation_t operation) {
    operation.id = new_guid();
    operation.result.id = new_guid();
    operation.result.device = shadow_device(++devices_);
    if (operation.polls_left == 0)
        complete(operation);
    operations_.push_back(std::move(operation));
    return operations_.back().id;
}

operation_status_t snapshots_t::refresh(const GUID& id) {
    operation_t& found = operation(id);
    if (found.polls_left > 0 && --found.polls_left == 0)
        complete(found);
    if (found.polls_left > 0)
        return {};
    return {.completed = true, .succeeded = found.failure.empty(), .error = found.failure};
}

void snapshots_t::complete(operation_t& operation) {
    if (operation.failure.empty())
        snapshots_.push_back(operation.result);
}

// A shadow copy is on the proxy once: from the moment its import begins until its snapshot is closed.
void snapshots_t::check_not_imported(const imported_t& wanted) const {
    const auto check = [&](const snapshot_t& snapshot) {
        for (const std::wstring& shadow : wanted.shadows)
            if (snapshot.imported && std::ranges::count(snapshot.imported->shadows, shadow))
                throw exc::runtime_exc_t(text::format("The shadow copy '%1' is imported already.", shadow));
    };
    for (const snapshot_t& snapshot : snapshots_)
        if (snapshot.open)
            check(snapshot);
    for (const operation_t& operation : operations_)
        if (operation.polls_left > 0)
            check(operation.result);
}

GUID snapshots_t::snapshot_of(const GUID& id) {
    const operation_t& found = operation(id);
    if (found.polls_left > 0)
        throw exc::runtime_exc_t(text::format("The operation '%1' has not completed.", id));
    if (!found.failure.empty())
        throw exc::runtime_exc_t(text::format("The operation '%1' has failed: %2", id, found.failure));
    return found.result.id;
}

void snapshots_t::close(const GUID& id) { open_snapshot(id).open = false; }

const snapshot_t& snapshots_t::on_host(const GUID& id) {
    const snapshot_t& found = open_snapshot(id);
    if (found.imported)
        throw exc::runtime_exc_t(text::format("The snapshot '%1' was imported: it has no writers here.", id));
    return found;
}

const snapshot_t& snapshots_t::on_proxy(const GUID& id) {
    const snapshot_t& found = open_snapshot(id);
    if (!found.imported)
        throw exc::runtime_exc_t(text::format("The snapshot '%1' was not imported.", id));
    return found;
}

void snapshots_t::report_backup(const GUID& id, const std::wstring& vm, bool ok) {
    machine_of(on_host(id), vm);
    if (!open_snapshot(id).reports.emplace(vm, ok).second)
        throw exc::runtime_exc_t(text::format("The backup of the machine '%1' was reported before.", vm));
}

snapshots_t::operation_t& snapshots_t::operation(const GUID& id) {
    const auto found = std::ranges::find(operations_, id, &operation_t::id);
    if (found == operations_.end())
        throw exc::runtime_exc_t(text::format("There is no operation '%1'.", id));
    return *found;
}

snapshot_t& snapshots_t::open_snapshot(const GUID& id) {
    const auto found = std::ranges::find(snapshots_, id, &snapshot_t::id);
    if (found == snapshots_.end())
        throw exc::runtime_exc_t(text::format("There is no snapshot '%1'.", id));
    if (!found->open)
        throw exc::runtime_exc_t(text::format("The snapshot '%1' is closed.", id));
    return *found;
}

}  // namespace lab
