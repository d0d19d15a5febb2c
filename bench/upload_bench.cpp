// The uploader beside the bare write stub called in a loop with the same blocks, to the same service on the same connection in
// the same process. 64 MiB go up in each run.
#include <windows.h>

#include <rpc.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "bench/harness.h"
#include "deploy/uploader.h"
#include "lab/host_model.h"
#include "lab/request_log.h"
#include "lab/server.h"
#include "rpc/commands/deployment.h"
#include "stubs/deployment.h"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t total = 64 << 20;

// All blocks in one command, so that nothing but the stub runs between two of them; from one buffer, as the uploader's are.
class bare_writes_t final : public win::rpc::CRpcMethodBase {
public:
    bare_writes_t(const win::rpc::unique_remote_file& file, const std::string& block)
        : CRpcMethodBase(win::rpc::command_of(win::rpc::service_t::deployment, 3)), file_(file), block_(block) {}

private:
    win::rpc::rpc_call_result_t DoCall(win::rpc::binding_t binding) override {
        const auto* bytes = reinterpret_cast<const unsigned char*>(block_.data());
        ULONG written = 0;
        rpc_call_result_t answer{};
        for (std::size_t sent = 0; sent < total; sent += block_.size())
            ::FcWriteFile(binding, file_.get(), static_cast<ULONG>(block_.size()), bytes, &written, &answer);
        win::rpc::rpc_call_result_t result;
        result.ok = answer.ok;
        return result;
    }

    const win::rpc::unique_remote_file& file_;
    const std::string& block_;
};

}  // namespace

int main(int argc, char** argv) {
    const lab::server server({.integration = false, .invoker = false});
    const auto client = win::rpc::make_deployment_client();
    client->SetEndpoint(L"localhost", server.port());
    client->SetAccount(L"KORVA", L"admin", L"password");

    const std::string block(win::file_uploader_t::block_size, 'x');
    const fs::path local = fs::temp_directory_path() / L"korva upload bench.bin";
    {
        std::ofstream file(local, std::ios::binary);
        for (std::size_t size = 0; size < total; size += block.size())
            file << block;
    }
    win::file_uploader_t uploader(client);
    const std::wstring destination = uploader.upload_folder() + L"\\bench.bin";

    bench::bench_t bench("upload", argc, argv);
    const auto result =
        bench.compare("upload of 64 MiB", 64, "MiB",
                      {{"uploader", [&] { uploader.upload(local.wstring(), destination); }},
                       {"bare stub", [&] {
                            win::rpc::CFcCreateFileMethod create(destination, GENERIC_WRITE, 0, CREATE_ALWAYS, 0);
                            client->Call(create);
                            const win::remote_file_t file(client, create.take_file());
                            bare_writes_t writes(file.handle(), block);
                            client->Call(writes);
                        }}});
    bench.aim("uploader to bare stub", result.rate_ratio("uploader", "bare stub"), 0.97);
    fs::remove(local);
    fs::remove_all(fs::path(destination).parent_path());
    return bench.finish();
}
