#include "com/co_korva_hv_integrator.h"

#include "com/co_korva_hv_ctp_mngr.h"
#include "com/co_korva_hv_offhost_vss.h"
#include "com/co_korva_hv_onhost_vss.h"
#include "com/co_korva_hv_restore_mngr.h"
#include "com/co_korva_vss_info_collector.h"
#include "com/create_internal.h"
#include "foundation/automation.h"

namespace com {

CCoKorvaHvIntegrator::CCoKorvaHvIntegrator(IUnknown* outer, std::shared_ptr<impl::CKorvaHvIntegrator> impl) noexcept
    : com_object(outer, std::move(impl)) {
    logging::info("HNV: Create instance");
}

STDMETHODIMP CCoKorvaHvIntegrator::SetEndpoint(BSTR host, int port) {
    return guarded([&] { impl().SetEndpoint(win::bstr_view(host), static_cast<std::uint32_t>(port)); });
}

STDMETHODIMP CCoKorvaHvIntegrator::SetAccount(BSTR user_name, BSTR password) {
    return guarded([&] { impl().SetAccount(win::bstr_view(user_name), win::bstr_view(password)); });
}

STDMETHODIMP CCoKorvaHvIntegrator::TestConnection() {
    return guarded([&] { impl().TestConnection(); });
}

STDMETHODIMP CCoKorvaHvIntegrator::get_VssInfoCollector(IKorvaVssInfoCollector** value) {
    return guarded(out(value), [&] { create_internal<CCoKorvaVssInfoCollector>(impl().VssInfo(), value); });
}

STDMETHODIMP CCoKorvaHvIntegrator::get_OnhostVss(IKorvaHvOnhostVss** value) {
    return guarded(out(value), [&] { create_internal<CCoKorvaHvOnhostVss>(impl().OnhostVss(), value); });
}

STDMETHODIMP CCoKorvaHvIntegrator::get_OffhostVss(IKorvaHvOffhostVss** value) {
    return guarded(out(value), [&] { create_internal<CCoKorvaHvOffhostVss>(impl().OffhostVss(), value); });
}

STDMETHODIMP CCoKorvaHvIntegrator::get_CtpMngr(IKorvaHvCtpMngr** value) {
    return guarded(out(value), [&] { create_internal<CCoKorvaHvCtpMngr>(impl().CtpMngr(), value); });
}

STDMETHODIMP CCoKorvaHvIntegrator::get_RestoreMngr(IKorvaHvRestoreMngr** value) {
    return guarded(out(value), [&] { create_internal<CCoKorvaHvRestoreMngr>(impl().RestoreMngr(), value); });
}

STDMETHODIMP CCoKorvaHvIntegrator::SetRpcTimeout(int seconds) {
    return guarded([&] { impl().SetRpcTimeout(seconds); });
}

}  // namespace com
