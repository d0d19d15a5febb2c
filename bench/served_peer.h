#pragma once

#include <windows.h>
#include <winsock2.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "foundation/handles.h"
#include "tests/wire/golden_rows.h"

// Services for the benchmarks, in a process of their own, so that the process that measures has only the client's share. They
// answer from plain sockets with replies that are ready: the lab's RPC runtime is slower than what is measured, and Wine's
// hangs under quick calls.
namespace bench {

// The bytes that the reply of the procedure is made of.
inline wire::behaviour_t answering(const wire::table_t& table) {
    auto replies = std::make_shared<std::vector<wire::bytes>>();
    for (const wire::row_t& row : table.rows) {
        if (row.operation >= replies->size())
            replies->resize(row.operation + 1u);
        if ((*replies)[row.operation].empty())
            (*replies)[row.operation] = wire::parse(row.reply);
    }
    wire::behaviour_t behaviour;
    behaviour.keep_requests = false;
    behaviour.reply = [replies](const wire::request_t& request, std::uint32_t call_id) {
        return request.operation < replies->size() ? wire::response_pdus(call_id, (*replies)[request.operation])
                                                   : wire::bytes();
    };
    return behaviour;
}

// As answering(), but every block of a file is written whole: the count goes from the request, behind the file's handle, to the
// front of the reply.
inline wire::behaviour_t writing_files(const wire::table_t& deployment) {
    constexpr std::uint16_t write_file = 3;
    constexpr std::size_t handle_size = 20, count_size = 4;
    wire::behaviour_t behaviour = answering(deployment);
    behaviour.reply = [&deployment, others = std::move(behaviour.reply)](const wire::request_t& request,
                                                                         std::uint32_t call_id) {
        if (request.operation != write_file || request.stub.size() < handle_size + count_size)
            return others(request, call_id);
        const auto row = std::find_if(deployment.rows.begin(), deployment.rows.end(),
                                      [](const wire::row_t& candidate) { return candidate.operation == write_file; });
        wire::bytes reply = wire::parse(row->reply);
        std::copy_n(request.stub.begin() + handle_size, count_size, reply.begin());
        return wire::response_pdus(call_id, reply);
    };
    return behaviour;
}

constexpr std::string_view everything = "everything";

// The other process's main: `count` peers for the table of that name, or for each of them; the ports go to the standard output.
// Ends when the process that started it does.
inline int serve(std::string_view served, unsigned count) {
    std::vector<std::unique_ptr<wire::peer>> peers;
    for (unsigned i = 0; i < count; ++i) {
        for (const wire::table_t& table : wire::golden_tables()) {
            if (served == everything || served == table.name)
                peers.push_back(std::make_unique<wire::peer>(
                    std::vector{served == "deployment" ? writing_files(table) : answering(table)}));
        }
    }
    for (const auto& peer : peers)
        std::printf("%u\n", peer->port());
    std::fflush(stdout);
    while (std::getchar() != EOF) {
    }
    std::_Exit(0);  // the peers' threads wait on clients that may be gone
}

// This program again, as such a process.
class served_peers {
public:
    // `count` peers of the golden table of that name, or one of each where it is `everything`.
    explicit served_peers(std::string_view served, unsigned count = 1) {
        SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
        win::unique_handle input, output;
        if (!::CreatePipe(input.put(), input_end_.put(), &inherited, 0) ||
            !::CreatePipe(output_end_.put(), output.put(), &inherited, 0))
            throw std::runtime_error("no pipes for the services");
        ::SetHandleInformation(input_end_.get(), HANDLE_FLAG_INHERIT, 0);
        ::SetHandleInformation(output_end_.get(), HANDLE_FLAG_INHERIT, 0);
        wchar_t program[MAX_PATH];
        ::GetModuleFileNameW(nullptr, program, MAX_PATH);
        std::wstring command = L"\"" + std::wstring(program) + L"\" --serve " + std::wstring(served.begin(), served.end()) +
                               L" " + std::to_wstring(count);
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdInput = input.get();
        startup.hStdOutput = output.get();
        startup.hStdError = ::GetStdHandle(STD_ERROR_HANDLE);
        PROCESS_INFORMATION process{};
        if (!::CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process))
            throw std::runtime_error("the services' process does not start");
        const win::unique_handle thread(process.hThread);
        process_.reset(process.hProcess);
        output.reset();
        read_ports(served == everything ? wire::golden_tables().size() : count);
    }
    ~served_peers() {
        input_end_.reset();
        ::WaitForSingleObject(process_.get(), 10'000);
    }
    served_peers(const served_peers&) = delete;
    served_peers& operator=(const served_peers&) = delete;

    // Of everything: in the order of wire::golden_tables().
    const std::vector<unsigned>& ports() const noexcept { return ports_; }

private:
    void read_ports(std::size_t count) {
        std::string text;
        while (static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) < count) {
            char part[256];
            DWORD read = 0;
            if (!::ReadFile(output_end_.get(), part, sizeof part, &read, nullptr) || read == 0)
                throw std::runtime_error("the services' process tells no ports");
            text.append(part, read);
        }
        for (const char* at = text.c_str(); *at; at = std::strchr(at, '\n') + 1)
            ports_.push_back(static_cast<unsigned>(std::strtoul(at, nullptr, 10)));
    }

    win::unique_handle input_end_, output_end_, process_;
    std::vector<unsigned> ports_;
};

// Runs `measure`, or the services where this is their process.
template <class Measure>
int run(int argc, char** argv, Measure&& measure) {
    try {
        if (argc == 4 && std::strcmp(argv[1], "--serve") == 0)
            return serve(argv[2], static_cast<unsigned>(std::strtoul(argv[3], nullptr, 10)));
        return measure();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}

}  // namespace bench
