// What a cluster's node tells of its cluster.
#include <cstdio>

#include "commands.h"
#include "foundation/format.h"
#include "integrator.h"

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
        const std::string line =
            text::format("    %1%2", win::bstr_view(mount_point.get()), is_csv ? " (cluster shared volume)" : "");
        std::puts(line.c_str());
    }
}

}  // namespace

void run_cluster(const options_t& options) {
    constexpr wchar_t prog_id[] = L"KorvaProxyClientDll.KorvaHvClusterManager";
    const auto manager = create_object<IKorvaHvClusterManager>(prog_id);
    show("CoCreateInstance", text::format("%1", prog_id));
    check("SetEndpoint", manager->SetEndpoint(win::make_bstr(options.host).get(), options.port));
    show("SetEndpoint", text::format("%1, port %2", options.host, options.port));
    set_account(manager, options);
    show("SetAccount", text::format("%1", options.account));

    win::com_ptr<IEnumClusterVolumes> volumes;
    check("ClusterVolumes", manager->get_ClusterVolumes(volumes.put()));
    show_volumes(volumes);
    for (const std::wstring& argument : options.arguments) {
        const win::unique_bstr resource = win::make_bstr(argument);
        win::unique_bstr id;
        check("GetResourceIDByName", manager->GetResourceIDByName(resource.get(), id.put()));
        show("GetResourceIDByName", text::format("%1: %2", argument, win::bstr_view(id.get())));
        check("RefreshVMConfig", manager->RefreshVMConfig(resource.get()));
        show("RefreshVMConfig", text::format("%1: ok", argument));
    }
}
