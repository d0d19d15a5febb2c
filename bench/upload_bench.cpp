// The uploader beside the bare write stub called in a loop with the same blocks, to the same service on the same connection in
// the same process; the client's processor time for each block. 64 MiB go up in each run.
#include <windows.h>
#include <winsock2.h>

#include <rpc.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "bench/harness.h"
#include "bench/processor_time.h"
#include "bench/served_peer.h"
#include "deploy/uploader.h"
#include "rpc/commands/deployment.h"
#include "stubs/deployment.h"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t total = 64 << 20;
const wchar_t* const destination = L"C:\\u\\bench.bin";

// All blocks in one command, so that nothing but the stub runs between two of them; from one buffer, as the uploader's are.
class bare_writes_t final : public win::rpc::CRpcMethodBase {
public:
    bare_writes_t(const win::rpc::unique_remote_file& file, const std::string& block)
        : CRpcMethodBase(win::rpc::command_of(win::rpc::service_t::deployment, 3)), file_(file), block_(block) {}

private:
    win::rpc::rpc_call_result_t DoCall(win::rpc::binding_t binding) override {
        const auto* bytes = reinterpret_cast<const unsigned char*>(block_.data());
        win::rpc::rpc_call_result_t result;
        result.ok = 1;
        for (std::size_t sent = 0; sent < total; sent += block_.size()) {
            ULONG written = 0;
            rpc_call_result_t answer{};
            ::FcWriteFile(binding, file_.get(), static_cast<ULONG>(block_.size()), bytes, &written, &answer);
            if (!answer.ok || written != block_.size())
                throw std::runtime_error("a block was not written");
        }
        return result;
    }

    const win::rpc::unique_remote_file& file_;
    const std::string& block_;
};

// A file of `total` bytes that goes when this does.
class local_file_t {
public:
    explicit local_file_t(const std::string& block) {
        std::ofstream file(path, std::ios::binary);
        for (std::size_t size = 0; size < total; size += block.size())
            file << block;
    }
    ~local_file_t() {
        std::error_code ignored;
        fs::remove(path, ignored);
    }
    local_file_t(const local_file_t&) = delete;
    local_file_t& operator=(const local_file_t&) = delete;

    const fs::path path = fs::temp_directory_path() / L"korva upload bench.bin";
};

}  // namespace

int main(int argc, char** argv) {
    return bench::run(argc, argv, [&] {
        const bench::served_peers service("deployment");
        const auto client = win::rpc::make_deployment_client();
        client->SetEndpoint(L"127.0.0.1", service.ports().front());
        client->SetAccount(L"KORVA", L"admin", L"password");
        const std::string block(win::file_uploader_t::block_size, 'x');
        const local_file_t local(block);

        const auto upload = [&] { win::file_uploader_t(client).upload(local.path.wstring(), destination); };
        const auto write_bare = [&] {
            win::rpc::CFcCreateFileMethod create(destination, GENERIC_WRITE, 0, CREATE_ALWAYS, 0);
            client->Call(create);
            const win::remote_file_t file(client, create.take_file());
            bare_writes_t writes(file.handle(), block);
            client->Call(writes);
        };
        bench::processor_times uploader_used, bare_used;
        bench::bench_t bench("upload", argc, argv);
        const auto result =
            bench.compare("upload of 64 MiB", 64, "MiB",
                          {{"uploader", uploader_used.around(upload)}, {"bare stub", bare_used.around(write_bare)}});
        bench.aim("uploader to bare stub", result.rate_ratio("uploader", "bare stub"), 0.97);
        constexpr double blocks = total / win::file_uploader_t::block_size;
        bench.figure("uploader: client CPU, microseconds a block", uploader_used.median() / blocks * 1e6);
        bench.figure("bare stub: client CPU, microseconds a block", bare_used.median() / blocks * 1e6);
        bench.aim_at_most("client CPU per block, uploader to bare stub", uploader_used.median() / bare_used.median(), 1.15);
        return bench.finish();
    });
}
