#include "com/co_korva_hv_cluster_manager.h"
#include "tests/hv/connection_settings.h"
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
    {[](cluster_t& cluster) {
         win::com_ptr<IEnumClusterVolumes> volumes;
         const HRESULT result = cluster.manager->get_ClusterVolumes(volumes.put());
         EXPECT_EQ(static_cast<bool>(volumes), SUCCEEDED(result));
         return result;
     },
     {"HvClsEnumClusterVolumes"},
     {"[HvCls]: Enumerating cluster volumes"}},
    {[](cluster_t& cluster) {
         win::unique_bstr id;
         const HRESULT result = cluster.manager->GetResourceIDByName(bstr(L"машина").get(), id.put());
         EXPECT_EQ(win::bstr_text(id.get()), SUCCEEDED(result) ? L"{5B0A}" : L"");
         return result;
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
    std::vector<std::pair<std::wstring, bool>> seen;
    win::com_ptr<IClusterVolumeInformation> kept;
    while (next(*list.get())) {
        win::unique_bstr mount_point;
        VARIANT_BOOL is_csv = 7;
        ASSERT_EQ(list->get_Current(kept.put()), S_OK);
        ASSERT_EQ(kept->get_MountPoint(mount_point.put()), S_OK);
        ASSERT_EQ(kept->get_IsCSV(&is_csv), S_OK);
        seen.emplace_back(win::bstr_text(mount_point.get()), is_csv == VARIANT_TRUE);
    }
    EXPECT_THAT(seen, ElementsAre(std::pair(LR"(C:\ClusterStorage\Том1)", true), std::pair(LR"(Q:\)", false)));
    EXPECT_FALSE(next(*list.get())) << "past the end it stays there";
    EXPECT_THAT(log_.texts(), ElementsAre("ECV: Fetch next", "Continue", "ECV: Get current", "ECV: Fetch next", "Continue",
                                          "ECV: Get current", "ECV: Fetch next", "End", "ECV: Fetch next", "End"));
    EXPECT_THAT(lab::requests().take(), IsEmpty()) << "the list was fetched once";
    list.reset();
    win::unique_bstr mount_point;
    EXPECT_EQ(kept->get_MountPoint(mount_point.put()), S_OK);
    EXPECT_EQ(win::bstr_text(mount_point.get()), LR"(Q:\)") << "a volume outlives its list";
}

TEST_F(Cluster, CurrentOutOfPlaceFails) {
    const lines_t bad_index{"Bad index in cluster volumes enumerator"};
    lab::host()->cluster.volumes = {{L"V:\\", true}};
    const auto list = volumes();
    win::com_ptr<IClusterVolumeInformation> volume;
    EXPECT_EQ(outcome(list->get_Current(volume.put())), failed(bad_index));
    EXPECT_THAT(log_.texts(), ElementsAre("ECV: Get current", "ERR |" + bad_index[0]));
    EXPECT_TRUE(next(*list.get()));
    EXPECT_EQ(list->get_Current(volume.put()), S_OK);
    EXPECT_FALSE(next(*list.get()));
    EXPECT_EQ(outcome(list->get_Current(volume.put())), failed(bad_index));
    EXPECT_FALSE(volume);

    lab::host()->cluster.volumes.clear();
    const auto empty = volumes();
    EXPECT_FALSE(next(*empty.get()));
    EXPECT_EQ(outcome(empty->get_Current(volume.put())), failed(bad_index));
    EXPECT_THAT(log_.texts(), ElementsAre("ECV: Fetch next", "End", "ECV: Get current", "ERR |" + bad_index[0]));
}

TEST_F(Cluster, HostileLists) {
    lab::host()->cluster.volumes_missing = 0;
    EXPECT_FALSE(next(*volumes().get())) << "no list, but none was promised";
    for (const std::uint32_t promised : {1u, 0x7fffffffu, 0xffffffffu}) {
        lab::host()->cluster.volumes_missing = promised;
        win::com_ptr<IEnumClusterVolumes> list;
        EXPECT_EQ(outcome(cluster_.manager->get_ClusterVolumes(list.put())),
                  failed({"The reply to remote function [HvClsEnumClusterVolumes] is not valid: it counts " +
                          std::to_string(promised) + " entries but brings no list."}));
        EXPECT_FALSE(list);
    }
    lab::host()->cluster.volumes_missing.reset();
    EXPECT_TRUE(next(*volumes().get())) << "the manager stays usable";
}

TEST_F(Cluster, NullOutputsDoNothing) {
    const auto list = volumes();
    lab::requests().take();
    EXPECT_EQ(cluster_.manager->get_ClusterVolumes(nullptr), E_POINTER);
    EXPECT_EQ(cluster_.manager->GetResourceIDByName(nullptr, nullptr), E_POINTER);
    expect_pointers(*list.get(), &IEnumClusterVolumes::Next, &IEnumClusterVolumes::get_Current);
    EXPECT_THAT(log_.texts(), IsEmpty());
    EXPECT_THAT(lab::requests().take(), IsEmpty());
    win::com_ptr<IClusterVolumeInformation> volume;
    EXPECT_TRUE(next(*list.get()));
    EXPECT_EQ(list->get_Current(volume.put()), S_OK);
    expect_pointers(*volume.get(), &IClusterVolumeInformation::get_MountPoint, &IClusterVolumeInformation::get_IsCSV);
}

}  // namespace
}  // namespace hv_tests
