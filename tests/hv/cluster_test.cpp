#include "com/co_korva_hv_cluster_manager.h"
#include "tests/hv/connection_settings.h"
#include "tests/hv/enumerators.h"
#include "tests/hv/remote_method.h"

namespace hv_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct cluster_t {
    lines_t filled(lines_t lines) const { return lines; }

    win::com_ptr<IKorvaHvClusterManager> manager;
};
using method_t = remote_method_t<cluster_t>;

const method_t methods[] = {
    {[](cluster_t& cluster) { return cluster.manager->get_ClusterVolumes(win::com_ptr<IEnumClusterVolumes>().put()); },
     {"HvClsEnumClusterVolumes"},
     {"[HvCls]: Enumerating cluster volumes"}},
    {[](cluster_t& cluster) {
         return gives_text(L"{5B0A}",
                           [&](BSTR* id) { return cluster.manager->GetResourceIDByName(bstr(L"машина").get(), id); });
     },
     {R"(HvClsGetResourceIdByName name="машина")"},
     {"[HvCls]: Get resource id by name. Name: [машина]"}},
    {[](cluster_t& cluster) { return cluster.manager->RefreshVMConfig(bstr(L"машина").get()); },
     {R"(HvClsRefreshVmConfig name="машина")"},
     {"[HvCls]: Refreshing vm config. ResName: [машина]"}},
};

class Cluster : public session {
protected:
    Cluster() {
        cluster_.manager = create<IKorvaHvClusterManager>(CLSID_KorvaHvClusterManager);
        EXPECT_THAT(log_.texts(), ElementsAre("[HvCls]: CKorvaHvClusterManager::CKorvaHvClusterManager"));
        EXPECT_EQ(cluster_.manager->SetEndpoint(bstr(L"127.0.0.1").get(), static_cast<int>(lab_port())), S_OK);
        EXPECT_EQ(cluster_.manager->SetAccount(bstr(LR"(CLUSTER\admin)").get(), bstr(L"secret-of-the-cluster").get()), S_OK);
    }
    // Here, because the base looks for objects that are left.
    ~Cluster() override { cluster_.manager.reset(); }

    win::com_ptr<IEnumClusterVolumes> volumes() {
        win::com_ptr<IEnumClusterVolumes> list;
        EXPECT_EQ(cluster_.manager->get_ClusterVolumes(list.put()), S_OK);
        log_.clear();
        return list;
    }

    cluster_t cluster_;
};

TEST_F(Cluster, MethodsSendLogAndFailExactlySo) {
    lab::host()->cluster.resources = {{L"машина", L"{5B0A}"}};
    volumes();  // makes the connection, of which the log tells
    for (const method_t& method : methods)
        play(method, cluster_, log_);
    EXPECT_EQ(lab::host()->cluster.resource(L"машина").refreshes, 1u);
}

TEST_F(Cluster, SettingsReachTheConnectionAndNoPasswordTheLog) {
    with_settings_t<com::CCoKorvaHvClusterManager> manager;
    manager.set(L"node-1", 7004, LR"(CLUSTER\admin)", L"секрет", 20);
    EXPECT_EQ(outcome(manager.object->RefreshVMConfig(nullptr)), failed({"enough seen"}));
    EXPECT_EQ(manager.take(), "compose node-1 7004, admin|CLUSTER|секрет, option 12 20000");
    EXPECT_TRUE(log_.holds("Connecting to RPC port '7004', host 'node-1'"));
    EXPECT_FALSE(log_.holds("секрет"));
}

TEST_F(Cluster, VolumesAreWalkedInOrder) {
    lab::host()->cluster.volumes = {{LR"(C:\ClusterStorage\Том1)", true}, {LR"(Q:\)", false}};
    auto list = volumes();
    lab::requests().take();
    win::com_ptr<IClusterVolumeInformation> volume;
    const auto expect_volume = [&](const wchar_t* expected, VARIANT_BOOL expected_csv) {
        EXPECT_EQ(given_text(*volume.get(), &IClusterVolumeInformation::get_MountPoint), expected);
        EXPECT_EQ(given(*volume.get(), &IClusterVolumeInformation::get_IsCSV), expected_csv);
    };
    EXPECT_TRUE(next(*list.get()));
    ASSERT_EQ(list->get_Current(volume.put()), S_OK);
    expect_volume(LR"(C:\ClusterStorage\Том1)", VARIANT_TRUE);
    EXPECT_TRUE(next(*list.get()));
    ASSERT_EQ(list->get_Current(volume.put()), S_OK);
    EXPECT_FALSE(next(*list.get()));
    EXPECT_THAT(log_.texts(), ElementsAre("ECV: Fetch next", "Continue", "ECV: Get current", "ECV: Fetch next", "Continue",
                                          "ECV: Get current", "ECV: Fetch next", "End"));
    EXPECT_THAT(lab::requests().take(), IsEmpty()) << "the list was fetched once";
    list.reset();
    expect_volume(LR"(Q:\)", VARIANT_FALSE);  // outlives its list
}

TEST_F(Cluster, VolumesHaveACurrentOneOnlyInPlace) {
    lab::host()->cluster.volumes = {{L"V:\\", true}};
    expect_current_only_in_place<IClusterVolumeInformation>(*volumes().get(), "Bad index in cluster volumes enumerator");
    EXPECT_EQ(log_.texts()[1], "ERR |Bad index in cluster volumes enumerator");
}

TEST_F(Cluster, HostileLists) {
    expect_false_counts_refused<IEnumClusterVolumes>("HvClsEnumClusterVolumes", [&](auto promised, auto** list) {
        lab::host()->cluster.volumes_missing = promised;
        return cluster_.manager->get_ClusterVolumes(list);
    });
    lab::host()->cluster.volumes_missing.reset();
    EXPECT_TRUE(next(*volumes().get())) << "the manager stays usable";
}

}  // namespace
}  // namespace hv_tests
