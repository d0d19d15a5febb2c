#include "tests/wire/golden_rows.h"

#include <algorithm>
#include <map>
#include <sstream>
#include <tuple>

#include "foundation/convert.h"
#include "foundation/errors.h"
#include "foundation/format.h"
#include "rpc/commands/deployment.h"
#include "rpc/commands/hv_cluster.h"
#include "rpc/commands/hv_restore.h"
#include "rpc/commands/hv_snapshots.h"
#include "rpc/commands/hv_tracking.h"
#include "rpc/commands/hv_vss.h"
#include "rpc/commands/invoker.h"
#include "tests/foundation/guid.h"

namespace wire {
namespace {

using namespace win::rpc;
using client_t = CRpcClientBase;
using text_t = std::wstring;
using number_t = std::uint32_t;

const char golden_text[] =
#include "tests/wire/golden_rows.txt"
    ;

// What one command is made from, as the row writes it.
class inputs_t {
public:
    inputs_t(client_t& client, const std::string& tokens) : client_(client), tokens_(tokens) {}

    template <class T>
    T take() {
        if constexpr (std::is_same_v<T, change_index_t>) {
            return {take<GUID>(), take<std::uint16_t>()};
        } else if constexpr (std::is_same_v<T, file_cache_t>) {
            return {take<std::uint64_t>(), take<std::uint64_t>()};
        } else if constexpr (std::is_same_v<T, std::vector<volume_request_t>>) {
            T volumes;
            while (!(tokens_ >> std::ws).eof())
                volumes.push_back({take<text_t>(), take<GUID>()});
            return volumes;
        } else {
            std::string token;
            tokens_ >> token;
            if constexpr (std::is_same_v<T, bool>)
                return token == "true";
            else if constexpr (std::is_integral_v<T>)
                return static_cast<T>(std::stoull(token, nullptr, 0));
            else if constexpr (std::is_same_v<T, text_t>)
                return text::widen(token.substr(1, token.size() - 2));
            else if constexpr (std::is_same_v<T, bytes>)
                return parse(token);
            else if constexpr (std::is_same_v<T, unique_remote_file>)
                return new_file();
            else
                return guid_of(token);
        }
    }

private:
    unique_remote_file new_file() {
        CFcCreateFileMethod create(L"ab", 0x40000000, 0, 2, 0);
        client_.Call(create);
        return create.take_file();
    }

    client_t& client_;
    std::istringstream tokens_;
};

// Outputs as the rows write them.
template <class T>
std::string show(const T& value) {
    return text::format("%1", value);
}
std::string show(const text_t& value) { return text::format("'%1'", value); }
std::string show(std::span<const unsigned char> value) { return hex(value); }
std::string show(const unique_remote_file& value) { return value ? "file" : "none"; }
std::string show(const dll_version_t& v) { return text::hex8(v.high) + ' ' + text::hex8(v.low); }
std::string show(const async_status_t& s) { return text::format("%1 %2 '%3'", s.completed, s.succeeded, s.error); }
std::string show(const snapshot_info_t& i) {
    return text::format("'%1' '%2' '%3'", i.backup_document, i.writer_document, i.transportable_info);
}
std::string show(const driver_version_t& v) { return text::format("%1 %2", v.compatible, v.current); }
std::string show(const change_index_t& i) { return text::format("%1 %2", i.generation_id, i.current_index); }
std::string show(const add_file_result_t& r) { return text::format("%1 %2", r.file_id, show(r.index)); }
std::string show(const file_standard_info_t& i) {
    return text::format("%1 %2 %3 '%4'", show(i.index), i.block_size, i.options, i.name);
}
std::string show(const file_cache_t& c) { return text::format("%1 %2", c.max_flat_size, c.max_indirect_size); }
std::string show(const cluster_volume_t& v) { return text::format("'%1' %2", v.mount_point, v.is_csv); }
std::string show(const vss_provider_t& p) {
    return text::format("%1 '%2' %3 '%4' %5", p.id, p.name, p.type, p.version, p.version_id);
}
template <class T>
std::string show(const std::vector<T>& list) {
    std::string result;
    for (const T& entry : list)
        result += (result.empty() ? "" : " ") + show(entry) + " ;";
    return result;
}

// The result of a step, or the text of the error that it ends with.
template <class Step>
std::string outcome_of(Step step) {
    try {
        return step();
    } catch (const exc::exc_base_t& error) {
        return text::format("error '%1'", error.what());
    }
}

// Makes a command from inputs of these types, calls, and shows what the accessors give.
template <class Command, class... Inputs>
procedure_t call(auto... outputs) {
    return [=](client_t& client, const std::string& tokens) {
        inputs_t in(client, tokens);
        std::tuple<Inputs...> inputs{in.take<Inputs>()...};
        Command command = std::make_from_tuple<Command>(std::move(inputs));
        std::string shown(command.GetName());
        const auto add = [&shown](const std::string& output) { shown += (output.empty() ? "" : " ") + output; };
        add(command.CanRetry() ? "" : "once");
        add(outcome_of([&] {
            client.Call(command);
            return std::string();
        }));
        (add(outcome_of([&] { return show(std::invoke(outputs, command)); })), ...);
        return shown;
    };
}

// The procedures of each service by their operation numbers.
const procedure_t deployment[] = {
    call<CGetSvcVersionMethod, bool>(&CGetSvcVersionMethod::version),
    call<CSureUploadFolderExistsMethod>(&CSureUploadFolderExistsMethod::folder),
    call<CFcCreateFileMethod, text_t, number_t, number_t, number_t, number_t>(&CFcCreateFileMethod::take_file),
    call<CFcWriteFileMethod, unique_remote_file, bytes>(&CFcWriteFileMethod::written),
    call<CFcCloseFileMethod, unique_remote_file>(),
    call<CGetSvcDllVersionMethod>(&CGetSvcDllVersionMethod::version),
    call<CUpgradeSvcDllMethod, text_t>(),
};

const procedure_t integration[] = {
    call<CHvTestConnectionMethod>(),
    call<CHvGetAsyncOpStatusMethod, GUID>(&CHvGetAsyncOpStatusMethod::status),
    call<CHvGetSnapshotInfoMethod, GUID>(&CHvGetSnapshotInfoMethod::info),
    call<CHvGetVMFilesListMethod, GUID, text_t>(&CHvGetVMFilesListMethod::files_xml),
    call<CHvSetVmBackupStatusMethod, GUID, text_t, bool>(),
    call<CHvBeginSnapshotCreationMethod, text_t>(&CHvBeginSnapshotCreationMethod::operation),
    call<CHvGetSnapshotIDByOperationIDMethod, GUID>(&CHvGetSnapshotIDByOperationIDMethod::snapshot),
    call<CHvCloseSnapshotMethod, GUID>(),
    call<CHvBeginSnapshotImportMethod, text_t, text_t>(&CHvBeginSnapshotImportMethod::operation),
    call<CHvConvertOffhostPathsMethod, GUID, text_t>(&CHvConvertOffhostPathsMethod::files_xml),
    call<CHvReleaseOperationIDMethod, GUID>(),
    call<CHvCreateRestoreSessionMethod>(&CHvCreateRestoreSessionMethod::session),
    call<CHvImportConfig, GUID, text_t, text_t>(),
    call<CHvPreRestoreMethod, GUID, text_t, text_t, text_t>(),
    call<CHvPreRestoreExMethod, GUID, text_t>(),
    call<CHvGetRestorePathsMethod, GUID>(&CHvGetRestorePathsMethod::paths_xml),
    call<CHvSetRestoreStatusMethod, GUID, bool>(),
    call<CHvPostRestoreMethod, GUID>(),
    call<CHvCloseRestoreSessionMethod, GUID>(),
    call<CHvCtpInitMethod>(),
    call<CHvCtpDoneMethod>(),
    call<CHvCtpGetDriverVersionMethod>(&CHvCtpGetDriverVersionMethod::version),
    call<CHvCtpGetCTStorePathMethod>(&CHvCtpGetCTStorePathMethod::path),
    call<CHvCtpSetCTStorePathMethod, text_t>(),
    call<CHvCtpAddFileMethod, text_t, number_t, number_t>(&CHvCtpAddFileMethod::added),
    call<CHvCtpGetFileIDMethod, text_t>(&CHvCtpGetFileIDMethod::file_id),
    call<CHvCtpRemoveFileMethod, number_t, number_t>(),
    call<CHvCtpGetFileNameMethod, number_t>(&CHvCtpGetFileNameMethod::name),
    call<CHvCtpGetFileIndexMethod, number_t>(&CHvCtpGetFileIndexMethod::index),
    call<CHvCtpSetFileIndexMethod, number_t, change_index_t>(),
    call<CHvCtpGetFileStandardInfoOrFlushChangesMethod, number_t, bool>(&CHvCtpGetFileStandardInfoOrFlushChangesMethod::info),
    call<CHvCtpGetFileStandardInfoOrFlushChangesMethod, number_t, bool>(&CHvCtpGetFileStandardInfoOrFlushChangesMethod::info),
    call<CHvCtpGetFileCacheMethod, number_t>(&CHvCtpGetFileCacheMethod::cache),
    call<CHvCtpSetFileCacheMethod, number_t, file_cache_t>(),
    call<CHvClsEnumClusterVolumesMethod>(&CHvClsEnumClusterVolumesMethod::volumes),
    call<CHvClsGetResourceIdByNameMethod, text_t>(&CHvClsGetResourceIdByNameMethod::id),
    call<CHvClsRefreshVmConfigMethod, text_t>(),
    call<CHvVssEnumProvidersMethod>(&CHvVssEnumProvidersMethod::providers),
    call<CHvVssIsVolumesSupportedMethod, std::vector<volume_request_t>>(&CHvVssIsVolumesSupportedMethod::answer_xml),
    call<CHvVssCollectWriterDocMethod>(&CHvVssCollectWriterDocMethod::document),
    call<CHvBeginSnapshotCreationExMethod, text_t, text_t, text_t>(&CHvBeginSnapshotCreationExMethod::operation),
    call<CHvBeginSnapshotImportExMethod, text_t, text_t, text_t, text_t>(&CHvBeginSnapshotImportExMethod::operation),
};

const procedure_t invoker[] = {
    call<CDoRpcMethod, text_t, text_t>(&CDoRpcMethod::output_xml),
    call<CDoRpcWithBinaryMethod, text_t, text_t, bytes>(&CDoRpcWithBinaryMethod::output_xml,
                                                        &CDoRpcWithBinaryMethod::output_data),
    call<CInvokerTestConnectionMethod, text_t>(),
};

std::map<std::string, std::string> names;  // what the file defines by "let"

std::string with_names(const std::string& cell) {
    std::string result;
    std::istringstream tokens(cell);
    for (std::string token; tokens >> token;)
        result += (result.empty() ? "" : " ") + (names.contains(token) ? names.at(token) : token);
    return result;
}

std::vector<table_t> read_tables() {
    const table_t services[] = {
        {"deployment", service_t::deployment, make_deployment_client, deployment, {}, {}},
        {"integration", service_t::hv_integration, make_integration_client, integration, {}, {}},
        {"invoker", service_t::invoker, make_invoker_client, invoker, {}, {}},
    };
    std::vector<table_t> tables;
    std::istringstream file(golden_text);
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line.starts_with('#'))
            continue;
        std::string cells[5];
        std::istringstream parts(line);
        for (std::string& cell : cells)
            std::getline(parts, cell, '|');
        const auto& [head, inputs, request, reply, outputs] = cells;
        std::string name, number;
        std::istringstream(head) >> name >> number;
        if (name == "let") {
            names[number] = with_names(inputs);
        } else if (name == "service") {
            tables.push_back(*std::ranges::find(services, number, &table_t::name));
            tables.back().syntaxes = parse(with_names(inputs));
        } else {
            table_t& table = tables.back();
            const auto operation = static_cast<std::uint16_t>(std::stoul(number));
            table.rows.push_back({line, operation, with_names(request), with_names(reply), with_names(name + ' ' + outputs),
                                  [&procedure = table.procedures[operation], tokens = with_names(inputs)](client_t& client) {
                                      return procedure(client, tokens);
                                  }});
        }
    }
    return tables;
}

}  // namespace

std::span<const table_t> golden_tables() {
    static const std::vector<table_t> tables = read_tables();
    return tables;
}

std::shared_ptr<client_t> client_of(const table_t& table, std::uint32_t port) {
    const auto client = table.make_client(rpc_functions_t::real());
    client->retry_policy().wait = [](std::uint32_t) {};
    client->SetEndpoint(L"127.0.0.1", port);
    client->SetAccount(L"LAB", L"user", L"secret");
    return client;
}

bytes golden_reply(const row_t& row, const request_t& request) {
    return parse(request.operation == row.operation ? row.reply : with_names("FILE DONE"));
}

}  // namespace wire
