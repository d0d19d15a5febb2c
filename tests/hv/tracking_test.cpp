#include <thread>

#include "foundation/system_text.h"
#include "tests/foundation/played_object.h"
#include "tests/hv/remote_method.h"

namespace hv_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

constexpr GUID some_generation{0x12345678, 0x9abc, 0xdef0, {1, 2, 3, 4, 5, 6, 7, 8}};

// A tracked file in the course of its life.
struct tracking_t {
    explicit tracking_t(const win::com_ptr<IKorvaHvIntegrator>& integrator) {
        EXPECT_EQ(integrator->get_CtpMngr(manager.put()), S_OK);
    }
    lines_t filled(lines_t lines) const {
        return fill(std::move(lines), {{"{id}", std::to_string(file_id)},
                                       {"{generation}", text::guid_text(generation)},
                                       {"{other generation}", "12345678-9abc-def0-0102-030405060708"}});
    }

    win::com_ptr<IKorvaHvCtpMngr> manager;
    ULONG file_id = 0;
    GUID generation{};
};
using method_t = remote_method_t<tracking_t>;

// Takes the host's word for the generation, for the texts to come.
HRESULT check_index(tracking_t& tracking, HRESULT result, IChangeIndex* index, USHORT expected) {
    if (SUCCEEDED(result)) {
        tracking.generation = given(*index, &IChangeIndex::get_GenerationID);
        EXPECT_EQ(given(*index, &IChangeIndex::get_CurrentIndex), expected);
    }
    return result;
}

method_t standard_info(const char* name, HRESULT (STDMETHODCALLTYPE IKorvaHvCtpMngr::*get)(ULONG, IFileStandardInfo**),
                       const std::string& title) {
    const auto call = [get](tracking_t& tracking) {
        win::com_ptr<IFileStandardInfo> info;
        const HRESULT result = (tracking.manager.get()->*get)(tracking.file_id, info.put());
        if (FAILED(result))
            return result;
        win::com_ptr<IChangeIndex> index;
        EXPECT_EQ(info->get_Index(index.put()), S_OK);
        EXPECT_EQ(given(*info.get(), &IFileStandardInfo::get_BlockSize), 65536u);
        EXPECT_EQ(given_text(*info.get(), &IFileStandardInfo::get_CTPFileName), LR"(D:\vm\диск.vhd.ctp)");
        EXPECT_EQ(given(*info.get(), &IFileStandardInfo::get_FileOptions), 769u);
        return check_index(tracking, result, index.get(), 1);
    };
    return {call,
            {std::string("HvCtp") + name + " file={id}"},
            {"HCM: " + title + ": [{id}]", "KCI: Create instance", "Generation ID: [{generation}], Changes index: [1]",
             "KFSI: Create instance", R"(CTP file name: [D:\vm\диск.vhd.ctp], Block size: [65536], File options: [769])"}};
}

constexpr auto all_options = static_cast<EAddFileOptions>(AddFileOptCluster | AddFileOptCtUser | AddFileOptStoreWithFile);

// In the order of a console.
const method_t methods[] = {
    {[](tracking_t& tracking) { return tracking.manager->Init(); }, {"HvCtpInit"}, {"HCM: Init"}},
    {[](tracking_t& tracking) {
         USHORT compatible = 9, current = 9;
         const HRESULT result = tracking.manager->GetVersion(&compatible, &current);
         EXPECT_THAT(std::pair(compatible, current), SUCCEEDED(result) ? Pair(2, 5) : Pair(0, 0));
         return result;
     },
     {"HvCtpGetDriverVersion"},
     {"HCM: Get driver version", "HCM: Compatible version: [2], current version: [5]"}},
    {[](tracking_t& tracking) { return tracking.manager->put_BasePath(bstr(LR"(S:\Store)").get()); },
     {R"(HvCtpSetCTStorePath path="S:\\Store")"},
     {R"(HCM: Set CT store path: [S:\Store})"}},
    {[](tracking_t& tracking) {
         return gives_text(LR"(S:\Store)", [&](BSTR* path) { return tracking.manager->get_BasePath(path); });
     },
     {"HvCtpGetCTStorePath"},
     {"HCM: Get CT store path", R"(HCM: CT store path: [S:\Store])"}},
    {[](tracking_t& tracking) {
         win::com_ptr<IAddFileResult> added;
         win::com_ptr<IChangeIndex> index;
         const HRESULT result = tracking.manager->AddFile(bstr(LR"(D:\vm\диск.vhd)").get(), 65536, all_options, added.put());
         if (SUCCEEDED(result)) {
             tracking.file_id = given(*added.get(), &IAddFileResult::get_FileID);
             EXPECT_EQ(added->get_Index(index.put()), S_OK);
         }
         return check_index(tracking, result, index.get(), 0);
     },
     {R"(HvCtpAddFile name="D:\\vm\\диск.vhd" block_size=65536 options=769)"},
     {R"(HCM: Register file for change tracking. Name: [D:\vm\диск.vhd], Block size: [65536], Options: [769])",
      "KCI: Create instance", "Generation ID: [{generation}], Changes index: [0]", "KAF: Create instance", "File ID: [{id}]"}},
    {[](tracking_t& tracking) {
         ULONG id = 77;
         const HRESULT result = tracking.manager->GetFileID(bstr(LR"(D:\vm\диск.vhd)").get(), &id);
         EXPECT_EQ(id, SUCCEEDED(result) ? tracking.file_id : 0);
         return result;
     },
     {R"(HvCtpGetFileID name="D:\\vm\\диск.vhd")"},
     {R"(HCM: Get file id by name: [D:\vm\диск.vhd])", "File ID: [{id}]"}},
    {[](tracking_t& tracking) {
         return gives_text(LR"(D:\vm\диск.vhd)",
                           [&](BSTR* name) { return tracking.manager->GetFileName(tracking.file_id, name); });
     },
     {"HvCtpGetFileName file={id}"},
     {"HCM: Get file name by id: [{id}]", R"(File name: [D:\vm\диск.vhd])"}},
    {[](tracking_t& tracking) {
         win::com_ptr<IChangeIndex> index;
         const HRESULT result = tracking.manager->GetFileCTndex(tracking.file_id, index.put());
         return check_index(tracking, result, index.get(), 0);
     },
     {"HvCtpGetFileIndex file={id}"},
     {"HCM: Get file change tracking index: [{id}]", "KCI: Create instance",
      "Generation ID: [{generation}], Changes index: [0]"}},
    standard_info("FlushFileChanges", &IKorvaHvCtpMngr::FlushFileChanges, "Flush file change tracking"),
    standard_info("GetFileStandardInfo", &IKorvaHvCtpMngr::GetFileStandardInfo, "Get file standard info"),
    {[](tracking_t& tracking) {
         played_object index;
         index[7] = [](void* value, void*, void*) { return *static_cast<GUID*>(value) = some_generation, S_OK; };
         index[9] = [](void* value, void*, void*) { return *static_cast<USHORT*>(value) = 65535, S_OK; };
         return tracking.manager->SetFileCTIndex(tracking.file_id, index.as<IChangeIndex>());
     },
     {"HvCtpSetFileIndex file={id} generation_id={other generation} current_index=65535"},
     {"KCI: Create instance", "Generation ID: [{other generation}], Changes index: [65535]",
      "HCM: Set file change tracking index: [{id}], Generation ID: [{other generation}], Index: [65535]"},
     {},
     3},
    {[](tracking_t& tracking) {
         win::com_ptr<IFileCache> cache;
         const HRESULT result = tracking.manager->GetFileCache(tracking.file_id, cache.put());
         if (SUCCEEDED(result)) {
             EXPECT_EQ(given(*cache.get(), &IFileCache::get_MaxFlatSize), 1u << 20);
             EXPECT_EQ(given(*cache.get(), &IFileCache::get_MaxIndirectSize), 16u << 20);
         }
         return result;
     },
     {"HvCtpGetFileCache file={id}"},
     {"HCM: Get file caching settings: [{id}]", "KFK: Create instance",
      "Max flat size: [1048576], Max indirect size: [16777216]"}},
    {[](tracking_t& tracking) {
         played_object cache;
         cache[7] = [](void* value, void*, void*) { return *static_cast<MIDL_uhyper*>(value) = 0x1'0000'0001, S_OK; };
         cache[9] = [](void* value, void*, void*) { return *static_cast<MIDL_uhyper*>(value) = 0xffffffffffffffff, S_OK; };
         return tracking.manager->SetFileCache(tracking.file_id, cache.as<IFileCache>());
     },
     {"HvCtpSetFileCache file={id} max_flat_size=4294967297 max_indirect_size=18446744073709551615"},
     {"KFK: Create instance", "Max flat size: [4294967297], Max indirect size: [18446744073709551615]",
      "HCM: Set file caching settings: [{id}], Max flat size: [4294967297], Max indirect size: [18446744073709551615]"},
     {},
     3},
    {[](tracking_t& tracking) { return tracking.manager->RemoveFile(tracking.file_id, RemoveFileOptCluster); },
     {"HvCtpRemoveFile file={id} options=1"},
     {"HCM: De register file from change tracking. ID: [{id}], Options: [1]"}},
};

class Tracking : public session {
protected:
    // A manager that is initialised and tracks one file.
    tracking_t with_file() {
        tracking_t tracking(new_integrator());
        win::com_ptr<IAddFileResult> added;
        EXPECT_EQ(tracking.manager->Init(), S_OK);
        EXPECT_EQ(tracking.manager->AddFile(bstr(L"D:\\a.vhd").get(), 512, AddFileOptNone, added.put()), S_OK);
        tracking.file_id = given(*added.get(), &IAddFileResult::get_FileID);
        lab::requests().take();
        log_.clear();
        return tracking;
    }
};

TEST_F(Tracking, MethodsSendLogAndFailExactlySo) {
    const auto integrator = connected_integrator();
    log_.clear();
    tracking_t tracking(integrator);
    EXPECT_THAT(log_.texts(), ElementsAre("HCM: Create instance"));
    for (const method_t& method : methods)
        play(method, tracking, log_);
    log_.clear();
    tracking.manager.reset();
    EXPECT_THAT(log_.texts(), ElementsAre("HCM: Destroy instance"));
}

TEST_F(Tracking, InitIsSentOnceByEachManager) {
    const auto integrator = new_integrator();
    for (int round = 0; round < 2; ++round) {
        tracking_t tracking(integrator);
        lab::set_failure("HvCtpInit", remote_text);
        EXPECT_EQ(outcome(tracking.manager->Init()), failed({remote_text}));
        lab::clear_failures();
        lab::requests().take();
        log_.clear();
        {
            std::vector<std::jthread> threads;
            for (int i = 0; i < 4; ++i)
                threads.emplace_back([&] { EXPECT_EQ(tracking.manager->Init(), S_OK) << "a failed one is tried again"; });
        }
        EXPECT_THAT(lab::requests().take(), ElementsAre("HvCtpInit"));
        EXPECT_EQ(log_.texts(), lines_t(4, "HCM: Init"));
    }
}

TEST_F(Tracking, AnIndexReachesTheHostOnlyWhenItIsWrittenBack) {
    tracking_t tracking = with_file();
    win::com_ptr<IChangeIndex> index;
    ASSERT_EQ(tracking.manager->GetFileCTndex(tracking.file_id, index.put()), S_OK);
    lab::requests().take();
    EXPECT_EQ(index->put_GenerationID(some_generation), S_OK);
    EXPECT_EQ(index->put_CurrentIndex(65535), S_OK);
    EXPECT_THAT(lab::requests().take(), IsEmpty());
    EXPECT_EQ(tracking.manager->SetFileCTIndex(tracking.file_id, index.get()), S_OK);

    win::com_ptr<IFileCache> cache;
    ASSERT_EQ(tracking.manager->GetFileCache(tracking.file_id, cache.put()), S_OK);
    EXPECT_EQ(cache->put_MaxFlatSize(7), S_OK);
    EXPECT_EQ(cache->put_MaxIndirectSize(8), S_OK);
    EXPECT_EQ(tracking.manager->SetFileCache(tracking.file_id, cache.get()), S_OK);
    EXPECT_EQ(
        lab::requests().take(),
        tracking.filled({"HvCtpSetFileIndex file={id} generation_id={other generation} current_index=65535",
                         "HvCtpGetFileCache file={id}", "HvCtpSetFileCache file={id} max_flat_size=7 max_indirect_size=8"}));
}

// Cut short, the text would name another file.
TEST_F(Tracking, ATextWithAZeroCharacterIsNotSent) {
    tracking_t tracking = with_file();
    ULONG id = 77;
    EXPECT_EQ(outcome(tracking.manager->GetFileID(bstr(std::wstring_view(L"D:\\a.vhd\0.old", 13)).get(), &id)),
              (outcome_t{E_INVALIDARG,
                         {exc::system_error_text(static_cast<std::uint32_t>(E_INVALIDARG)),
                          "A text that holds a zero character cannot be sent."}}));
    EXPECT_THAT(lab::requests().take(), IsEmpty());
}

TEST_F(Tracking, AFailingPropertyOfTheConsolesObjectSendsNothing) {
    tracking_t tracking = with_file();
    constexpr HRESULT own_failure = 0x80040123;
    const struct {
        bool index;
        int failing_slot;
        const char* text;
    } rows[] = {
        {true, 7, "Failed to get generation id"},
        {true, 9, "Failed to get current changes index"},
        {false, 7, "Failed to get max flat size"},
        {false, 9, "Failed to get max indirect size"},
    };
    for (const auto& row : rows) {
        played_object source;
        source[7] = source[9] = [](void*, void*, void*) { return S_OK; };
        source[row.failing_slot] = [](void*, void*, void*) { return own_failure; };
        const HRESULT result = row.index ? tracking.manager->SetFileCTIndex(tracking.file_id, source.as<IChangeIndex>())
                                         : tracking.manager->SetFileCache(tracking.file_id, source.as<IFileCache>());
        EXPECT_EQ(outcome(result),
                  (outcome_t{own_failure, {exc::system_error_text(static_cast<std::uint32_t>(own_failure)), row.text}}));
    }
    EXPECT_THAT(lab::requests().take(), IsEmpty());
}

TEST_F(Tracking, AnAnswerWithoutItsRecordFails) {
    tracking_t tracking = with_file();
    lab::host()->tracking.null_records = true;
    IKorvaHvCtpMngr& manager = *tracking.manager.get();
    const ULONG id = tracking.file_id;
    const std::pair<std::string, std::function<HRESULT()>> calls[] = {
        {"AddFile",
         [&] { return manager.AddFile(bstr(L"D:\\b.vhd").get(), 1, AddFileOptNone, win::com_ptr<IAddFileResult>().put()); }},
        {"GetFileIndex", [&] { return manager.GetFileCTndex(id, win::com_ptr<IChangeIndex>().put()); }},
        {"GetFileStandardInfo", [&] { return manager.GetFileStandardInfo(id, win::com_ptr<IFileStandardInfo>().put()); }},
        {"FlushFileChanges", [&] { return manager.FlushFileChanges(id, win::com_ptr<IFileStandardInfo>().put()); }},
        {"GetFileCache", [&] { return manager.GetFileCache(id, win::com_ptr<IFileCache>().put()); }},
    };
    for (const auto& [command, call] : calls)
        EXPECT_EQ(outcome(call()),
                  failed({"The reply to remote function [HvCtp" + command + "] is not valid: its record is missing."}));
    lab::host()->tracking.null_records = false;
    EXPECT_EQ(outcome(calls[4].second()), succeeded());
}

}  // namespace
}  // namespace hv_tests
