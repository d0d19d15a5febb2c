#include <gtest/gtest.h>

#include <optional>
#include <thread>

#include "KorvaProxyClient.h"
#include "foundation/handles.h"
#include "logging/memory_receiver.h"
#include "logging/write.h"
#include "tests/com/com_test.h"
#include "tests/com/every_class.h"
#include "tests/com/every_method.h"
#include "tests/com/lab_port.h"
#include "tests/com/loaded_dll.h"
#include "tests/lab_process.h"
#include "tests/process_state.h"
#include "tests/watched_memory.h"

namespace {

using leaks = com_test;
using process_state::open_handles;
using process_state::private_bytes;

// Handles and blocks at the end as at the start, and what is not counted without growth in sight.
void expect_no_leak(int count, const std::function<void()>& round) {
    for (int i = 0; i < count / 5; ++i)
        round();
    const unsigned handles = open_handles();
    const long blocks = watched_memory::live_blocks();
    const std::size_t bytes = private_bytes();
    for (int i = count / 5; i < count; ++i)
        round();
    EXPECT_LE(open_handles(), handles);
    EXPECT_EQ(watched_memory::live_blocks(), blocks);
    EXPECT_LE(private_bytes(), bytes + 2 * 4096);  // none is what was seen
    EXPECT_FALSE(com::module::in_use());
}

TEST_F(leaks, TwoThousandRoundsOfEachClassLeaveNothing) {
    const unsigned handles = open_handles();
    const win::unique_handle event(::CreateEventW(nullptr, FALSE, FALSE, nullptr));
    EXPECT_EQ(open_handles(), handles + 1) << "leaks of handles would not be seen";
    const long blocks = watched_memory::live_blocks();
    const win::unique_bstr text = win::make_bstr(L"text");
    EXPECT_EQ(watched_memory::live_blocks(), blocks + 1) << "leaks of texts would not be seen";
    for (const class_row& row : classes) {
        SCOPED_TRACE(text::guid_text(row.iid));
        expect_no_leak(2000, [&] {
            const auto object = row.make_interface();
            EXPECT_EQ(object->GetTypeInfo(0, LOCALE_NEUTRAL, win::com_ptr<ITypeInfo>().put()), S_OK);
            EXPECT_EQ(object->GetIDsOfNames(IID_NULL, nullptr, 0, 0, nullptr), E_POINTER);
        });
    }
    std::printf("2000 rounds of %zu classes\n", classes.size());
}

void expect_no_leak_of_any_method(bool connected, int count) {
    every_method_t every_method;
    std::optional<lab_process> lab;  // its own memory and handles are not this process's
    if (connected) {
        lab.emplace(L"--port 0 --quiet");
        every_method.host = L"127.0.0.1";
        every_method.port = static_cast<unsigned>(lab->port());
    }
    long calls = 0, succeeded = 0;
    every_method.on_call = [&](const every_method_t::call_t& call) { ++calls, succeeded += SUCCEEDED(call().result); };
    every_method.call_each_class([&](const auto& call) {
        expect_no_leak(count, [&] {
            ++every_method.run;
            call();
            take_error();
        });
    });
    std::printf("%d rounds of every method of %zu classes: %ld calls, %ld of them succeed\n", count,
                every_method.interfaces.size(), calls, succeeded);
    EXPECT_TRUE(!connected || succeeded > calls / 2);
    EXPECT_TRUE(!connected || every_method.interfaces.size() >= 22) << testing::PrintToString(every_method.interfaces);
}

// Of the creatable classes and those that they hand out: without a connection, where most calls fail, and with one.
TEST_F(leaks, RoundsOfEveryMethodLeaveNothing) {
    expect_no_leak_of_any_method(false, 2000);
    expect_no_leak_of_any_method(true, 40);
}

// Of the creation of each class and of its methods against the lab: our allocations, those of the stubs, texts and arrays.
TEST_F(leaks, EveryAllocationFailsOnceAndLeavesNothing) {
    logging::captured_log_t log;
    logging::info(std::string(100000, '-'));  // room for what the failures write
    long failed_allocations = 0, failed_calls = 0;
    every_method_t every_method{.host = L"127.0.0.000000000001", .port = lab_port(), .password = L"a password of 24 letters"};
    every_method.on_call = [&](const every_method_t::call_t& call) {
        const auto call_failing = [&](long number) {
            watched_memory::fail_allocation(number);
            const auto called = call();
            watched_memory::fail_allocation(0);
            return called;
        };
        call();           // some are good only once
        call_failing(1);  // the program's first failure of all keeps a block for good
        const auto good = call();
        take_error();
        const long blocks = watched_memory::live_blocks();
        call();
        take_error();
        const long failed_before = failed_calls;
        const bool keeps = watched_memory::live_blocks() != blocks;  // a list to which it adds
        long number = 1;
        for (;; ++number) {
            const auto called = call_failing(number);
            if (!watched_memory::failed())
                break;
            ++failed_allocations;
            failed_calls += called.result != good.result;
            EXPECT_TRUE(called.result == good.result || called.result == E_OUTOFMEMORY ||
                        (description_of_error() + '\n').find("\nOut of memory.\n") != std::string::npos)
                << text::hex8(static_cast<std::uint32_t>(called.result));
            EXPECT_TRUE(called.result != S_OK || called.given_out == good.given_out) << "success without what it gives";
            EXPECT_EQ(call().result, good.result);
            take_error();
            EXPECT_TRUE(watched_memory::live_blocks() == blocks || keeps) << "after the failure of allocation " << number;
            log.clear();
        }
        // Lines of the log may be lost; what allocates more has to fail.
        EXPECT_TRUE(number <= 5 || failed_calls > failed_before || FAILED(good.result)) << number - 1 << " failures are hidden";
    };
    for (const com::class_entry& entry : com::class_table()) {
        win::com_ptr<IDispatch> object;
        every_method.on_call([&] {
            const HRESULT result = entry.create(nullptr, IID_IDispatch, reinterpret_cast<void**>(object.put()));
            return every_method_t::called_t{result, object ? 1 : 0};
        });
    }
    every_method.call_each_class([](const auto& call) { call(); });
    std::printf("%ld allocations fail in methods of %zu classes, %ld of them the call\n", failed_allocations,
                every_method.interfaces.size(), failed_calls);
}

// A thread of the host's, which outlives the module.
class other_thread_t {
public:
    void run(std::function<void()> step) {
        step_ = std::move(step);
        ::SetEvent(begin_.get());
        ::WaitForSingleObject(end_.get(), INFINITE);
    }
    ~other_thread_t() {
        step_ = nullptr;
        ::SetEvent(begin_.get());
    }

private:
    std::function<void()> step_;
    const win::unique_handle begin_{::CreateEventW(nullptr, FALSE, FALSE, nullptr)},
        end_{::CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    std::jthread thread_{[this] {
        while (::WaitForSingleObject(begin_.get(), INFINITE) == WAIT_OBJECT_0 && step_) {
            step_();
            ::SetEvent(end_.get());
        }
    }};
};

// The DLL comes with a runtime and a log of its own: what it keeps behind, only the process as a whole shows.
TEST_F(leaks, ThreeHundredLoadsOfTheDllLeaveNothing) {
    unsigned handles = 0;
    std::size_t bytes = 0;
    other_thread_t other;
    for (int i = 0; i < 300 && !HasFailure(); ++i) {
        std::optional<loaded_dll> dll(std::in_place);
        const auto use = [&] {
            win::com_ptr<IClassFactory> factory;
            win::com_ptr<IProxyRpcInvoker> object;
            EXPECT_EQ(dll->get_class_object(CLSID_KorvaProxyInvoker, IID_IClassFactory, factory.put()), S_OK);
            EXPECT_EQ(factory->CreateInstance(nullptr, __uuidof(IProxyRpcInvoker), reinterpret_cast<void**>(object.put())),
                      S_OK);
            EXPECT_EQ(object->SetEndpoint(win::make_bstr(L"\x65E5").get(), 1), S_OK);
            EXPECT_EQ(object->Connect(nullptr), HRESULT_FROM_WIN32(ERROR_NO_UNICODE_TRANSLATION));
            take_error();
            EXPECT_EQ(dll->can_unload_now(), S_FALSE);
        };
        use();
        other.run(use);
        if (i % 2 == 0)
            dll.reset();
        else
            other.run([&] { dll.reset(); });
        EXPECT_EQ(::GetModuleHandleW(L"KorvaProxyClient.dll"), nullptr);
        if (i == 60) {
            handles = open_handles();
            bytes = private_bytes();
        }
    }
    EXPECT_LE(open_handles(), handles);
    const double growth = (static_cast<double>(private_bytes()) - static_cast<double>(bytes)) / 239;
    std::printf("300 loads, %.0f private bytes each\n", growth);
    EXPECT_LT(growth, 256);
}

}  // namespace
