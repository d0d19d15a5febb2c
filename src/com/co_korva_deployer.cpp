#include "com/co_korva_deployer.h"

#include "com/conversions.h"

namespace com {

STDMETHODIMP CCoKorvaDeployer::SetEndpoint(BSTR host, int port) {
    return guarded([&] { impl().SetEndpoint(win::bstr_view(host), port); });
}

STDMETHODIMP CCoKorvaDeployer::SetAccount(BSTR user_name, BSTR password) {
    return guarded([&] { impl().SetAccount(win::bstr_view(user_name), win::bstr_view(password)); });
}

STDMETHODIMP CCoKorvaDeployer::InstallService() {
    return guarded([&] { impl().InstallService(); });
}

STDMETHODIMP CCoKorvaDeployer::Connect() {
    return guarded([&] { impl().Connect(); });
}

STDMETHODIMP CCoKorvaDeployer::RemoveService() {
    return guarded([&] { impl().RemoveService(); });
}

STDMETHODIMP CCoKorvaDeployer::get_ServiceVersion(int* value) {
    return guarded(out(value), [&] { *value = impl().ServiceVersion(); });
}

STDMETHODIMP CCoKorvaDeployer::get_ServiceDllVersion(BSTR* value) {
    return guarded(out(value), [&] { *value = to_bstr(impl().ServiceDllVersion()); });
}

// Of all the texts only these two paths tell a null one from an empty one.
STDMETHODIMP CCoKorvaDeployer::UpgradeServiceDll(BSTR dll_path) {
    return guarded(required(dll_path), [&] { impl().UpgradeServiceDll(std::wstring(win::bstr_view(dll_path))); });
}

STDMETHODIMP CCoKorvaDeployer::InstallServiceEx(BSTR service_path) {
    return guarded(required(service_path), [&] { impl().InstallService(std::wstring(win::bstr_view(service_path))); });
}

STDMETHODIMP CCoKorvaDeployer::SetRpcTimeout(int seconds) {
    return guarded([&] { impl().SetRpcTimeout(seconds); });
}

STDMETHODIMP CCoKorvaDeployer::PingService() {
    return guarded([&] { impl().PingService(); });
}

}  // namespace com
