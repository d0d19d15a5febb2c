#include "com/class_table.h"

#include "KorvaProxyClient.h"
#include "com/class_factory.h"
#include "com/co_korva_deployer.h"
#include "com/co_korva_hv_cluster_manager.h"
#include "com/co_korva_hv_integrator.h"
#include "com/co_korva_vss_is_volumes_supported_request.h"
#include "com/co_proxy_client_logging.h"
#include "com/co_proxy_rpc_invoker.h"
#include "com/co_vdisk_mount_manager.h"

namespace com {
namespace {

// Consoles look the ProgIDs up, cut short as some of them are: never mend one.
//
// To add a class: write CCoX over impl::CX (com_object.h shows how), include its header above and add its row here. Its
// registration, factory and unregistration follow from the row; its interface and coclass stand in the type library already.
const class_entry table[] = {
    {CLSID_KorvaProxyClientLogging, L"KorvaProxyClientDll.KorvaProxyClientLogging.1",
     L"KorvaProxyClientDll.KorvaProxyClientLogging", L"KorvaProxyClientLogging Class", create_instance<CCoProxyClientLogging>},
    {CLSID_KorvaDeployer, L"KorvaProxyClientDll.KorvaDeployer.1", L"KorvaProxyClientDll.KorvaDeployer", L"KorvaDeployer Class",
     create_instance<CCoKorvaDeployer>},
    {CLSID_KorvaHvIntegrator, L"KorvaProxyClientDll.CoKorvaHvIntegrat.1", L"KorvaProxyClientDll.KorvaHvIntegrator",
     L"KorvaHvIntegrator Class", create_instance<CCoKorvaHvIntegrator>},
    {CLSID_KorvaProxyInvoker, L"KorvaProxyClientDll.KorvaProxyInvoker.1", L"KorvaProxyClientDll.KorvaProxyInvoker",
     L"KorvaProxyInvoker Class", create_instance<CCoProxyRpcInvoker>},
    {CLSID_KorvaVdiskMountManager, L"KorvaProxyClientDll.KorvaVdiskMountManag.1", L"KorvaProxyClientDll.KorvaVdiskMountManager",
     L"KorvaVdiskMountManager Class", create_instance<CCoVdiskMountManager>},
    {CLSID_KorvaHvClusterManager, L"KorvaProxyClientDll.KorvaHvClusterManage.1", L"KorvaProxyClientDll.KorvaHvClusterManager",
     L"KorvaHvClusterManager Class", create_instance<CCoKorvaHvClusterManager>},
    {CLSID_KorvaVssIsVolumesSupportedRequest, L"KorvaProxyClientDll.KorvaVssIsVolumesSup.1",
     L"KorvaProxyClientDll.KorvaVssIsVolumesSuppo", L"KorvaVssIsVolumesSupportedRequest Class",
     create_instance<CCoKorvaVssIsVolumesSupportedRequest>},
};

}  // namespace

std::span<const class_entry> class_table() noexcept { return table; }

}  // namespace com
