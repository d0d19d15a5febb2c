#include <thread>

#include "foundation/system_text.h"
#include "tests/foundation/played_object.h"
#include "tests/hv/remote_method.h"

namespace hv_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr GUID first_id{0x11111111, 0x2222, 0x3333, {4, 4, 5, 5, 5, 5, 5, 5}};
constexpr GUID second_id{0xaaaaaaaa, 0xbbbb, 0xcccc, {0xd, 0xd, 0xe, 0xe, 0xe, 0xe, 0xe, 0xe}};
constexpr wchar_t odd_text[] = L"<Ответ n='1'>\r\n\t &amp; 拒绝 \U0001F600</Ответ> ";

struct vss_t {
    explicit vss_t(const win::com_ptr<IKorvaHvIntegrator>& integrator) {
        EXPECT_EQ(integrator->get_VssInfoCollector(collector.put()), S_OK);
    }
    lines_t filled(lines_t lines) const { return lines; }

    win::com_ptr<IKorvaVssInfoCollector> collector;
    win::com_ptr<IKorvaVssIsVolumesSupportedRequest> request;
};
using method_t = remote_method_t<vss_t>;

const method_t methods[] = {
    {[](vss_t& vss) {
         win::com_ptr<IEnumVSSProviders> providers;
         const HRESULT result = vss.collector->get_VSSProviders(providers.put());
         EXPECT_EQ(static_cast<bool>(providers), SUCCEEDED(result));
         return result;
     },
     {"HvVssEnumProviders"},
     {}},
    {[](vss_t& vss) {
         win::unique_bstr answer;
         const HRESULT result = vss.collector->IsVolumesSupported(vss.request.get(), answer.put());
         EXPECT_EQ(win::bstr_text(answer.get()), SUCCEEDED(result) ? odd_text : L"");
         return result;
     },
     {R"(HvVssIsVolumesSupported count=3 volumes="D:\\ by 11111111-2222-3333-0404-050505050505; )"
      R"(Ж:\\диск.vhd by aaaaaaaa-bbbb-cccc-0d0d-0e0e0e0e0e0e;  by 11111111-2222-3333-0404-050505050505")"},
     {}},
    {[](vss_t& vss) {
         win::unique_bstr document;
         const HRESULT result = vss.collector->CollectHvWriterDoc(document.put());
         EXPECT_EQ(win::bstr_text(document.get()), SUCCEEDED(result) ? odd_text : L"");
         return result;
     },
     {"HvVssCollectWriterDoc"},
     {},
     {"Failed to call 'CollectWriterDoc' on server '127.0.0.1'."}},
};

class Vss : public session {
protected:
    static win::com_ptr<IKorvaVssIsVolumesSupportedRequest> new_request() {
        return create<IKorvaVssIsVolumesSupportedRequest>(CLSID_KorvaVssIsVolumesSupportedRequest);
    }
};

struct provider_t {
    std::wstring name, version;
    GUID id{}, version_id{};
    EVSSProviderType type{};

    bool operator==(const provider_t&) const = default;
};

provider_t read(IVSSProviderInfo& info) {
    provider_t provider;
    win::unique_bstr name, version;
    EXPECT_EQ(info.get_ID(&provider.id), S_OK);
    EXPECT_EQ(info.get_Name(name.put()), S_OK);
    EXPECT_EQ(info.get_Type(&provider.type), S_OK);
    EXPECT_EQ(info.get_Version(version.put()), S_OK);
    EXPECT_EQ(info.get_VersionID(&provider.version_id), S_OK);
    provider.name = win::bstr_text(name.get());
    provider.version = win::bstr_text(version.get());
    return provider;
}

TEST_F(Vss, MethodsSendLogAndFailExactlySo) {
    vss_t vss(connected_integrator());
    vss.request = new_request();
    EXPECT_EQ(vss.request->Add(bstr(L"D:\\").get(), first_id), S_OK);
    EXPECT_EQ(vss.request->Add(bstr(LR"(Ж:\диск.vhd)").get(), second_id), S_OK);
    EXPECT_EQ(vss.request->Add(nullptr, first_id), S_OK);
    lab::host()->vss.volumes_answer = lab::host()->vss.document = odd_text;
    for (const method_t& method : methods)
        play(method, vss, log_);
}

TEST_F(Vss, ProvidersAreWalkedInSilenceAndStayTheSame) {
    lab::host()->vss.providers = {{first_id, L"Поставщик", 1, L"2.4", second_id}, {second_id, L"", 2, L"", first_id}};
    vss_t vss(new_integrator());
    win::com_ptr<IEnumVSSProviders> providers;
    ASSERT_EQ(vss.collector->get_VSSProviders(providers.put()), S_OK);
    log_.clear();
    win::com_ptr<IVSSProviderInfo> current, again;
    ASSERT_TRUE(next(*providers.get()));
    ASSERT_EQ(providers->get_Current(current.put()), S_OK);
    ASSERT_EQ(providers->get_Current(again.put()), S_OK);
    EXPECT_EQ(current.get(), again.get());
    EXPECT_EQ(read(*current.get()), (provider_t{L"Поставщик", L"2.4", first_id, second_id, EHardware}));
    ASSERT_TRUE(next(*providers.get()));
    ASSERT_EQ(providers->get_Current(current.put()), S_OK);
    EXPECT_EQ(read(*current.get()), (provider_t{L"", L"", second_id, first_id, ESoftware}));
    EXPECT_FALSE(next(*providers.get()));
    expect_pointers(*providers.get(), &IEnumVSSProviders::Next, &IEnumVSSProviders::get_Current);
    expect_pointers(*current.get(), &IVSSProviderInfo::get_ID, &IVSSProviderInfo::get_Name, &IVSSProviderInfo::get_Type,
                    &IVSSProviderInfo::get_Version, &IVSSProviderInfo::get_VersionID);
    expect_pointers(*vss.collector.get(), &IKorvaVssInfoCollector::get_VSSProviders,
                    &IKorvaVssInfoCollector::CollectHvWriterDoc);
    EXPECT_THAT(log_.texts(), IsEmpty());
    providers.reset();
    EXPECT_EQ(read(*again.get()).name, L"Поставщик") << "a provider outlives its list";
}

TEST_F(Vss, CurrentOutOfPlaceFails) {
    const lines_t bad_index{"Bad index in the VSS providers enumerator."};
    lab::host()->vss.providers.resize(1);
    vss_t vss(new_integrator());
    win::com_ptr<IEnumVSSProviders> providers;
    win::com_ptr<IVSSProviderInfo> provider;
    ASSERT_EQ(vss.collector->get_VSSProviders(providers.put()), S_OK);
    EXPECT_EQ(outcome(providers->get_Current(provider.put())), failed(bad_index));
    EXPECT_TRUE(next(*providers.get()));
    EXPECT_EQ(providers->get_Current(provider.put()), S_OK);
    EXPECT_FALSE(next(*providers.get()));
    EXPECT_EQ(outcome(providers->get_Current(provider.put())), failed(bad_index));
    EXPECT_FALSE(provider);

    lab::host()->vss.providers.clear();
    ASSERT_EQ(vss.collector->get_VSSProviders(providers.put()), S_OK);
    EXPECT_FALSE(next(*providers.get()));
    EXPECT_EQ(outcome(providers->get_Current(provider.put())), failed(bad_index));
}

TEST_F(Vss, HostileLists) {
    vss_t vss(new_integrator());
    win::com_ptr<IEnumVSSProviders> providers;
    lab::host()->vss.providers_missing = 0;
    ASSERT_EQ(outcome(vss.collector->get_VSSProviders(providers.put())), succeeded());
    EXPECT_FALSE(next(*providers.get())) << "no list, but none was promised";
    for (const std::uint32_t promised : {1u, 0x7fffffffu, 0xffffffffu}) {
        lab::host()->vss.providers_missing = promised;
        EXPECT_EQ(outcome(vss.collector->get_VSSProviders(providers.put())),
                  failed({"The reply to remote function [HvVssEnumProviders] is not valid: it counts " +
                          std::to_string(promised) + " entries but brings no list."}));
        EXPECT_FALSE(providers);
    }
}

TEST_F(Vss, ARequestKeepsItsPairs) {
    const auto request = new_request();
    ULONG count = 7;
    win::unique_bstr name;
    GUID provider{};
    EXPECT_EQ(request->get_Count(&count), S_OK);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(request->Add(bstr(L"C:\\").get(), first_id), S_OK);
    EXPECT_EQ(request->get_Count(&count), S_OK);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(request->Get(0, name.put(), &provider), S_OK);
    EXPECT_EQ(win::bstr_text(name.get()), L"C:\\");
    EXPECT_EQ(provider, first_id);
    for (const ULONG past_end : {1ul, 0xfffffffful}) {
        EXPECT_EQ(outcome(request->Get(past_end, name.put(), &provider)),
                  (outcome_t{E_INVALIDARG,
                             {exc::system_error_text(static_cast<std::uint32_t>(E_INVALIDARG)),
                              text::format("No volume at index %1, the request holds 1.", past_end)}}));
        EXPECT_FALSE(name);
        EXPECT_EQ(provider, GUID{});
    }
    EXPECT_EQ(request->Get(0, nullptr, &provider), E_POINTER);
    EXPECT_EQ(request->Get(0, name.put(), nullptr), E_POINTER);
    expect_pointers(*request.get(), &IKorvaVssIsVolumesSupportedRequest::get_Count);

    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([&] {
                for (int n = 0; n < 1000; ++n)
                    EXPECT_EQ(request->Add(bstr(L"D:\\").get(), second_id), S_OK);
            });
    }
    EXPECT_EQ(request->get_Count(&count), S_OK);
    EXPECT_EQ(count, 4001u) << "filled from several threads";
}

TEST_F(Vss, ARequestWithoutPairsIsAnEmptyList) {
    vss_t vss(new_integrator());
    win::unique_bstr answer;
    EXPECT_EQ(outcome(vss.collector->IsVolumesSupported(new_request().get(), answer.put())), succeeded());
    EXPECT_EQ(win::bstr_text(answer.get()), L"<Volumes></Volumes>");
    EXPECT_THAT(lab::requests().take(), ElementsAre(R"(HvVssIsVolumesSupported count=0 volumes="")"));
}

TEST_F(Vss, ARequestOfTheConsolesOwnIsReadThroughItsInterface) {
    vss_t vss(new_integrator());
    win::unique_bstr answer;
    played_object request;
    request[8] = [](void* count, void*, void*) { return *static_cast<ULONG*>(count) = 2, S_OK; };
    request[9] = [](void* index, void* name, void* provider) {
        *static_cast<BSTR*>(name) = bstr(reinterpret_cast<std::uintptr_t>(index) ? L"E:\\" : L"D:\\").release();
        *static_cast<GUID*>(provider) = first_id;
        return S_OK;
    };
    EXPECT_EQ(outcome(vss.collector->IsVolumesSupported(request.as<IKorvaVssIsVolumesSupportedRequest>(), answer.put())),
              succeeded());
    EXPECT_THAT(lab::requests().take(),
                ElementsAre(R"(HvVssIsVolumesSupported count=2 volumes="D:\\ by 11111111-2222-3333-0404-050505050505; )"
                            R"(E:\\ by 11111111-2222-3333-0404-050505050505")"));

    for (const auto& [slot, failure] :
         {std::pair(9, "Failed to get volume"), std::pair(8, "Failed to get number of volumes")}) {
        request[slot] = [](void*, void*, void*) { return E_ACCESSDENIED; };
        EXPECT_EQ(outcome(vss.collector->IsVolumesSupported(request.as<IKorvaVssIsVolumesSupportedRequest>(), answer.put())),
                  (outcome_t{E_ACCESSDENIED, {exc::system_error_text(static_cast<std::uint32_t>(E_ACCESSDENIED)), failure}}));
        EXPECT_FALSE(answer);
    }
    EXPECT_EQ(vss.collector->IsVolumesSupported(nullptr, answer.put()), E_POINTER);
    EXPECT_EQ(vss.collector->IsVolumesSupported(request.as<IKorvaVssIsVolumesSupportedRequest>(), nullptr), E_POINTER);
    EXPECT_THAT(lab::requests().take(), IsEmpty());
}

}  // namespace
}  // namespace hv_tests
