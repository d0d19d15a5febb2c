#include <thread>

#include "foundation/system_text.h"
#include "tests/foundation/played_object.h"
#include "tests/hv/enumerators.h"
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
    {[](vss_t& vss) { return vss.collector->get_VSSProviders(win::com_ptr<IEnumVSSProviders>().put()); },
     {"HvVssEnumProviders"},
     {}},
    {[](vss_t& vss) {
         return gives_text(odd_text,
                           [&](BSTR* answer) { return vss.collector->IsVolumesSupported(vss.request.get(), answer); });
     },
     {R"(HvVssIsVolumesSupported count=3 volumes="D:\\ by 11111111-2222-3333-0404-050505050505; )"
      R"(Ж:\\диск.vhd by aaaaaaaa-bbbb-cccc-0d0d-0e0e0e0e0e0e;  by 11111111-2222-3333-0404-050505050505")"},
     {}},
    {[](vss_t& vss) {
         return gives_text(odd_text, [&](BSTR* document) { return vss.collector->CollectHvWriterDoc(document); });
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
    lab::host()->vss.providers = {{first_id, L"Поставщик", 1, L"2.4", second_id}};
    vss_t vss(new_integrator());
    win::com_ptr<IEnumVSSProviders> providers;
    ASSERT_EQ(vss.collector->get_VSSProviders(providers.put()), S_OK);
    log_.clear();
    win::com_ptr<IVSSProviderInfo> provider, again;
    ASSERT_TRUE(next(*providers.get()));
    ASSERT_EQ(providers->get_Current(provider.put()), S_OK);
    ASSERT_EQ(providers->get_Current(again.put()), S_OK);
    EXPECT_EQ(provider.get(), again.get());
    EXPECT_FALSE(next(*providers.get()));
    providers.reset();  // a provider outlives its list
    EXPECT_EQ(given(*provider.get(), &IVSSProviderInfo::get_ID), first_id);
    EXPECT_EQ(given_text(*provider.get(), &IVSSProviderInfo::get_Name), L"Поставщик");
    EXPECT_EQ(given(*provider.get(), &IVSSProviderInfo::get_Type), EHardware);
    EXPECT_EQ(given_text(*provider.get(), &IVSSProviderInfo::get_Version), L"2.4");
    EXPECT_EQ(given(*provider.get(), &IVSSProviderInfo::get_VersionID), second_id);
    EXPECT_THAT(log_.texts(), IsEmpty());
}

TEST_F(Vss, ProvidersHaveACurrentOneOnlyInPlace) {
    lab::host()->vss.providers.resize(1);
    vss_t vss(new_integrator());
    win::com_ptr<IEnumVSSProviders> providers;
    ASSERT_EQ(vss.collector->get_VSSProviders(providers.put()), S_OK);
    expect_current_only_in_place<IVSSProviderInfo>(*providers.get(), "Bad index in the VSS providers enumerator.");
}

TEST_F(Vss, HostileLists) {
    vss_t vss(new_integrator());
    expect_false_counts_refused<IEnumVSSProviders>("HvVssEnumProviders", [&](auto promised, auto** list) {
        lab::host()->vss.providers_missing = promised;
        return vss.collector->get_VSSProviders(list);
    });
}

TEST_F(Vss, ARequestKeepsItsPairs) {
    const auto request = new_request();
    win::unique_bstr name;
    GUID provider{};
    EXPECT_EQ(request->Add(bstr(L"C:\\").get(), first_id), S_OK);
    EXPECT_EQ(request->Get(0, name.put(), &provider), S_OK);
    EXPECT_EQ(win::bstr_text(name.get()), L"C:\\");
    EXPECT_EQ(provider, first_id);
    EXPECT_EQ(outcome(request->Get(1, name.put(), &provider)),
              (outcome_t{E_INVALIDARG,
                         {exc::system_error_text(static_cast<std::uint32_t>(E_INVALIDARG)),
                          "No volume at index 1, the request holds 1."}}));
    EXPECT_EQ(request->Get(0, nullptr, &provider), E_POINTER);
    EXPECT_EQ(request->Get(0, name.put(), nullptr), E_POINTER);
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([&] {
                for (int n = 0; n < 1000; ++n)
                    EXPECT_EQ(request->Add(bstr(L"D:\\").get(), second_id), S_OK);
            });
    }
    EXPECT_EQ(given(*request.get(), &IKorvaVssIsVolumesSupportedRequest::get_Count), 4001u) << "filled from several threads";
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
    const auto asking = [&](BSTR* given) {
        return outcome(vss.collector->IsVolumesSupported(request.as<IKorvaVssIsVolumesSupportedRequest>(), given));
    };
    EXPECT_EQ(asking(answer.put()), succeeded());
    EXPECT_THAT(lab::requests().take(),
                ElementsAre(R"(HvVssIsVolumesSupported count=2 volumes="D:\\ by 11111111-2222-3333-0404-050505050505; )"
                            R"(E:\\ by 11111111-2222-3333-0404-050505050505")"));

    for (const auto& [slot, failure] :
         {std::pair(9, "Failed to get volume"), std::pair(8, "Failed to get number of volumes")}) {
        request[slot] = [](void*, void*, void*) { return E_ACCESSDENIED; };
        EXPECT_EQ(asking(answer.put()),
                  (outcome_t{E_ACCESSDENIED, {exc::system_error_text(static_cast<std::uint32_t>(E_ACCESSDENIED)), failure}}));
        EXPECT_FALSE(answer);
    }
    EXPECT_EQ(vss.collector->IsVolumesSupported(nullptr, answer.put()), E_POINTER);
    EXPECT_EQ(asking(nullptr).result, E_POINTER);
    EXPECT_THAT(lab::requests().take(), IsEmpty());
}

}  // namespace
}  // namespace hv_tests
