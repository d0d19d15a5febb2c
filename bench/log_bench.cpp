// 200,000 messages of 100 characters: the process's log beside a bare WriteFile loop and spdlog flushing each message, with
// one and with four threads; and the compression of a full log beside bare gzwrite.
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#include <windows.h>
#include <zlib.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "bench/harness.h"
#include "foundation/handles.h"
#include "logging/gz_archive.h"
#include "logging/log.h"
#include "logging/win_log_file.h"

namespace {

constexpr int messages = 200'000;
constexpr unsigned full_log = 15'728'640;

const char* const own_path = "build/bench/own.log";
const char* const bare_path = "build/bench/bare.log";
const char* const spdlog_path = "build/bench/spdlog.log";
const char* const archive_path = "build/bench/log.gz";

const std::string text(100, 'x');
// What one message becomes in the module's layout.
const std::string line = "[03.11.2013 14:05:09] <     7>      " + text + "\r\n";

// Each thread writes its share of the messages.
template <class Write>
void on_threads(int count, const Write& write) {
    const auto share = [&] {
        for (int i = 0; i < messages / count; ++i)
            write();
    };
    std::vector<std::thread> threads;
    for (int i = 1; i < count; ++i)
        threads.emplace_back(share);
    share();
    for (std::thread& thread : threads)
        thread.join();
}

// As the module sets up its log. Where the default log would compress the file, this one only asks for its size.
void write_own(int threads) {
    logging::log_t log([](logging::receiver::log_file_t& receiver) { (void)receiver.size(); });
    log.set_size_control(true);
    log.set_receiver(std::make_shared<win::win_log_file_t>(own_path));
    const auto format = std::make_shared<logging::format::line_format_t>();
    on_threads(threads, [&] { log.write(logging::level_info, log.indentation(), format, text); });
}

win::unique_file open_bare() {
    return win::unique_file(::CreateFileA(bare_path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                                          FILE_ATTRIBUTE_NORMAL, nullptr));
}

void write_bare(int threads) {
    const win::unique_file file = open_bare();
    CRITICAL_SECTION lock;
    ::InitializeCriticalSection(&lock);
    on_threads(threads, [&] {
        DWORD written;
        ::EnterCriticalSection(&lock);
        ::WriteFile(file.get(), line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
        ::LeaveCriticalSection(&lock);
    });
    ::DeleteCriticalSection(&lock);
}

void write_spdlog(int threads) {
    spdlog::logger logger("bench", std::make_shared<spdlog::sinks::basic_file_sink_mt>(spdlog_path, true));
    logger.set_pattern("[%d.%m.%Y %H:%M:%S] <%6t>      %v");
    logger.flush_on(spdlog::level::trace);
    on_threads(threads, [&] { logger.info(text); });
}

void measure_writing(bench::bench_t& bench, int threads) {
    const std::string title = std::to_string(threads) + (threads == 1 ? " thread" : " threads");
    const auto clear_up = [] {
        for (const char* path : {own_path, bare_path, spdlog_path})
            ::DeleteFileA(path);
    };
    const auto result = bench.compare(title, messages, "lines",
                                      {{"log", [=] { write_own(threads); }, clear_up},
                                       {"bare WriteFile", [=] { write_bare(threads); }, clear_up},
                                       {"spdlog, flushing", [=] { write_spdlog(threads); }, clear_up}});
    bench.aim(title + ": log to spdlog", result.rate_ratio("log", "spdlog, flushing"), 2);
    bench.aim(title + ": log to bare WriteFile", result.rate_ratio("log", "bare WriteFile"), 0.6);
}

// A log as it is written: lines that differ in their numbers.
std::string full_log_text() {
    std::string log;
    for (unsigned i = 0; log.size() < full_log; ++i)
        log += "[03.11.2013 14:05:09] <  " + std::to_string(1000 + i % 7) + ">      RPC function call " +
               std::to_string(i * 2654435761u) + " has been completed. Target machine: [host" + std::to_string(i % 13) +
               "].\r\n";
    log.resize(full_log);
    return log;
}

void measure_compression(bench::bench_t& bench) {
    const std::string log = full_log_text();
    const logging::file_functions_t files;
    std::unique_ptr<win::win_log_file_t> file;
    const auto fill = [&] {
        file.reset();
        ::DeleteFileA(own_path);
        ::DeleteFileA(archive_path);
        file = std::make_unique<win::win_log_file_t>(own_path);
        file->write(log);
    };
    const auto compress_own = [&] {
        logging::gz_archive_t archive(archive_path, 9, files);
        file->compress_to(archive);
        archive.close();
    };
    const auto compress_bare = [&] {
        const gzFile archive = ::gzopen(archive_path, "wb9");
        ::gzwrite(archive, log.data(), static_cast<unsigned>(log.size()));
        ::gzclose(archive);
    };
    const auto result = bench.compare("compressing a full log", full_log / 1048576.0, "MiB",
                                      {{"log", compress_own, fill}, {"bare gzwrite", compress_bare, fill}});
    bench.aim_at_most("compression: log's time to bare gzwrite's", result.time_ratio("log", "bare gzwrite"), 1.03);
}

}  // namespace

int main(int argc, char** argv) {
    bench::bench_t bench("log", argc, argv);
    measure_writing(bench, 1);
    measure_writing(bench, 4);
    measure_compression(bench);
    for (const char* path : {own_path, bare_path, spdlog_path, archive_path})
        ::DeleteFileA(path);
    return bench.finish();
}
