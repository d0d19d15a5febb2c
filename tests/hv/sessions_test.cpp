// Everything that a console does with the lab, from COM to the wire and back.
#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <thread>

#include "KorvaProxyClient.h"
#include "foundation/automation.h"
#include "foundation/convert.h"
#include "hv/offhost_vss.h"
#include "hv/onhost_vss.h"
#include "lab/host_model.h"
#include "lab/request_log.h"
#include "tests/com/com_test.h"
#include "tests/foundation/guid.h"
#include "tests/foundation/played_object.h"
#include "tests/foundation/thrown.h"
#include "tests/hv/console.h"

namespace hv_tests {
namespace {

class Console : public com_test {
protected:
    Console() {
        lab_port();
        lab::reset();
    }

    logging::captured_log_t log_;
};

template <class T>
played_object::answer_t giving(T value) {
    return [value](void* place, void*, void*) { return *static_cast<T*>(place) = value, S_OK; };
}

class Sessions : public Console, public ::testing::WithParamInterface<std::string> {};

TEST_P(Sessions, GoAsTheyAreWritten) {
    std::map<std::string, played_object> played;
    console_t console(log_);
    const GUID id = guid_of(console.values["another generation"]);
    const auto volume = [id](void* index, void* name, void* provider) {
        *static_cast<BSTR*>(name) = win::make_bstr(index ? L"E:\\" : L"D:\\").release();
        return *static_cast<GUID*>(provider) = id, S_OK;
    };
    // Objects of the console's own, by their slots; a method that is not played answers that it is not there.
    const std::map<std::string, std::map<int, played_object::answer_t>> own = {
        {"own index", {{7, giving(id)}, {9, giving(USHORT{65535})}}},
        {"index without generation", {{9, giving(USHORT{65535})}}},
        {"index without number", {{7, giving(id)}}},
        {"own cache", {{7, giving(ULONGLONG{7})}, {9, giving(ULONGLONG{8})}}},
        {"cache without flat size", {{9, giving(ULONGLONG{8})}}},
        {"cache without indirect size", {{7, giving(ULONGLONG{7})}}},
        {"own request", {{8, giving(ULONG{2})}, {9, volume}}},
        {"request without volumes", {{8, giving(ULONG{2})}}},
        {"request without count", {{9, volume}}}};
    for (const auto& [name, slots] : own) {
        for (const auto& [slot, answer] : slots)
            played[name][slot] = answer;
        console.objects[name] = win::com_ptr(played[name].as<IUnknown>());
    }
    console.play(GetParam());
}
INSTANTIATE_TEST_SUITE_P(Hv, Sessions, ::testing::ValuesIn(console_t::session_names()), [](const auto& session) {
    std::string name = session.param;
    std::ranges::replace_if(
        name, [](char c) { return !std::isalnum(c); }, '_');
    return name;
});

TEST_F(Console, SeveralDoNotDisturbEachOther) {
    const auto play = [this](const char* host, const char* machine, const char* name, const char* other_machine) {
        EXPECT_EQ(::CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        for (int round = 0; round < 5; ++round) {
            console_t console(log_);
            console.values["host"] = host;
            console.values["machine"] = console.values[machine];
            console.values["name"] = name;
            console.values["other machine"] = console.values[other_machine];
            console.play("one of several", true);
        }
        ::CoUninitialize();
    };
    const std::jthread first(play, "127.0.0.1", "web", "web", "reports"), second(play, "localhost", "reports", "отчёты", "web");
}

TEST_F(Console, ThreadsInitialiseTrackingOnce) {
    console_t console(log_);
    console.play("every getter makes an object", true);
    ASSERT_FALSE(HasFailure());
    auto* const tracking = static_cast<IKorvaHvCtpMngr*>(console.objects["another tracking"].get());
    lab::requests().take();
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([&] { EXPECT_EQ(tracking->Init(), S_OK); });
    }
    EXPECT_THAT(lab::requests().take(), ::testing::ElementsAre("HvCtpInit"));
}

TEST_F(Console, ThreadsFillOneRequest) {
    const auto request = create<IKorvaVssIsVolumesSupportedRequest>(CLSID_KorvaVssIsVolumesSupportedRequest);
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([&] {
                for (int n = 0; n < 1000; ++n)
                    EXPECT_EQ(request->Add(win::make_bstr(L"D:\\").get(), GUID{}), S_OK);
            });
    }
    ULONG count = 0;
    EXPECT_EQ(request->get_Count(&count), S_OK);
    EXPECT_EQ(count, 4000u);
}

TEST_F(Console, WhatCannotBeHandedOutFailsItsOperation) {
    console_t console(log_);
    console.play("a snapshot on the host", true);
    ASSERT_FALSE(HasFailure());
    const auto value = [&](const char* name) { return text::widen(console.values[name]); };
    const GUID operation = guid_of(console.values["operation"]);
    const auto client = win::rpc::make_integration_client();
    client->SetEndpoint(L"127.0.0.1", lab_port());
    client->SetAccount(L"LAB", L"backup", L"secret");
    impl::CKorvaHvOnhostVss onhost(client);
    impl::CKorvaHvOffhostVss offhost(client);
    const auto refuse = [](const auto&) { throw exc::runtime_exc_t("no object"); };
    const std::pair<std::string, std::function<void()>> rows[] = {
        {"Failed to send request for onhost snapshot to server '127.0.0.1'.",
         [&] { onhost.BeginSnapshotCreation(L"<Snapshot/>", refuse); }},
        {"Failed to send request for onhost snapshot to server '127.0.0.1'.",
         [&] { onhost.BeginSnapshotCreationEx(L"<Snapshot/>", L"", L"", refuse); }},
        {"Failed to obtain snapshot ID by snapshot task ID '" + console.values["operation"] + "'.",
         [&] { onhost.GetSnapshotByOpID(operation, refuse); }},
        {"Failed to send request to import VSS snapshot. Host: '127.0.0.1'.",
         [&] { offhost.BeginSnapshotImport(value("document"), value("shadows"), refuse); }},
        {"Failed to send request to import VSS snapshot. Proxy host: '127.0.0.1'.",
         [&] {
             lab::host()->snapshots = {};  // nothing is imported twice
             offhost.BeginSnapshotImportEx(value("document"), value("shadows"), L"", L"", refuse);
         }},
    };
    log_.clear();
    for (const auto& [failure, call] : rows)
        EXPECT_THAT(thrown(call), ::testing::ElementsAre(failure, "no object"));
    for (const char* done : {"delivered to", "successfully created", "Matched snapshot", "was sent to"})
        EXPECT_FALSE(log_.holds(done)) << done;
}

}  // namespace
}  // namespace hv_tests
