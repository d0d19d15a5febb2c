// What a cluster's node tells of its cluster.
#include "commands.h"
#include "integrator.h"
#include "output.h"

namespace {

void show_volumes(const win::com_ptr<IEnumClusterVolumes>& volumes) {
    show("ClusterVolumes", "");
    for (VARIANT_BOOL more = VARIANT_FALSE;;) {
        check("Next", volumes->Next(&more));
        if (!more)
            return;
        win::com_ptr<IClusterVolumeInformation> volume;
        win::unique_bstr mount_point;
        VARIANT_BOOL is_csv = VARIANT_FALSE;
        check("Current", volumes->get_Current(volume.put()));
        check("MountPoint", volume->get_MountPoint(mount_point.put()));
        check("IsCSV", volume->get_IsCSV(&is_csv));
        const std::wstring_view name = win::bstr_view(mount_point.get());
        show_item("Volume", text::format("%1%2", name, is_csv ? " (cluster shared volume)" : ""),
                  {{"MountPoint", name}, {"IsCSV", is_csv != VARIANT_FALSE}});
    }
}

}  // namespace

void run_cluster(const options_t& options) {
    const auto manager = create_client<IKorvaHvClusterManager>(L"KorvaProxyClientDll.KorvaHvClusterManager", options);
    win::com_ptr<IEnumClusterVolumes> volumes;
    check("ClusterVolumes", manager->get_ClusterVolumes(volumes.put()));
    show_volumes(volumes);
    for (const std::wstring& argument : options.arguments) {
        stop_if_asked();
        const win::unique_bstr resource = win::make_bstr(argument);
        win::unique_bstr id;
        check("GetResourceIDByName", manager->GetResourceIDByName(resource.get(), id.put()));
        show("GetResourceIDByName", text::format("%1: %2", argument, win::bstr_view(id.get())),
             {{"Name", argument}, {"ID", win::bstr_view(id.get())}});
        stop_if_asked();
        check("RefreshVMConfig", manager->RefreshVMConfig(resource.get()));
        show("RefreshVMConfig", text::format("%1: ok", argument), {{"Name", argument}});
    }
}
