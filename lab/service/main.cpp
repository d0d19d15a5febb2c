// KorvaDeploymentSvc.exe: the lab's installer service as a Windows service. Its command line is "KorvaDeploymentSvc.exe -port
// N"; without a port it stops at once. What it receives stands, one request a line, in KorvaDeploymentSvc.log in the Windows
// folder's Temp.
#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <filesystem>
#include <string>

#include "foundation/errors.h"
#include "foundation/handles.h"
#include "lab/host_model.h"
#include "lab/request_log.h"
#include "lab/server.h"

namespace {

wchar_t service_name[] = L"KorvaDeploymentService";
unsigned port = 0;  // none
SERVICE_STATUS_HANDLE status_handle;
HANDLE stop_requested;

void report(DWORD state, DWORD exit_code = NO_ERROR) {
    SERVICE_STATUS status{};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = state;
    status.dwControlsAccepted = state == SERVICE_RUNNING ? SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_SHUTDOWN : 0;
    status.dwWin32ExitCode = exit_code;
    ::SetServiceStatus(status_handle, &status);
}

DWORD WINAPI handle_control(DWORD control, DWORD, void*, void*) {
    if (control == SERVICE_CONTROL_STOP || control == SERVICE_CONTROL_SHUTDOWN)
        ::SetEvent(stop_requested);
    return NO_ERROR;
}

// 0 for a text that is no port's number.
unsigned port_of(const wchar_t* text) {
    wchar_t* end = nullptr;
    const unsigned long number = std::wcstoul(text, &end, 10);
    return *end == L'\0' && number <= 65535 ? static_cast<unsigned>(number) : 0;
}

void serve() {
    wchar_t own_path[MAX_PATH] = {};
    wchar_t windows[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, own_path, MAX_PATH);
    ::GetWindowsDirectoryW(windows, MAX_PATH);
    const std::filesystem::path temp = std::filesystem::path(windows) / L"Temp";
    std::filesystem::create_directories(temp);
    lab::requests().write_to_file((temp / L"KorvaDeploymentSvc.log").wstring());
    if (port == 0)
        throw exc::runtime_exc_t("The command line names no port: KorvaDeploymentSvc.exe -port N.");
    lab::host()->deployment.upload_folder = std::filesystem::path(own_path).parent_path() / L"Upload";

    // Never destroyed: stopping in order waits until callers that are still connected go, and the process ends with the
    // service.
    new lab::server({.ports = {port}, .deployment = true, .integration = false, .invoker = false});
    report(SERVICE_RUNNING);
    ::WaitForSingleObject(stop_requested, INFINITE);
}

void WINAPI service_main(DWORD, wchar_t**) {
    const win::unique_handle stop(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    stop_requested = stop.get();
    status_handle = ::RegisterServiceCtrlHandlerExW(service_name, handle_control, nullptr);
    if (!status_handle)
        return;
    report(SERVICE_START_PENDING);
    DWORD exit_code = NO_ERROR;
    try {
        serve();
    } catch (const std::exception& error) {
        lab::requests().add(std::string("cannot serve: ") + error.what());
        exit_code = ERROR_EXCEPTION_IN_SERVICE;
    }
    report(SERVICE_STOPPED, exit_code);
}

}  // namespace

int wmain(int count, wchar_t** values) {
    for (int i = 1; i + 1 < count; ++i)
        if (std::wstring_view(values[i]) == L"-port")
            port = port_of(values[i + 1]);
    const SERVICE_TABLE_ENTRYW services[] = {{service_name, service_main}, {nullptr, nullptr}};
    if (::StartServiceCtrlDispatcherW(services))
        return 0;
    std::fprintf(stderr, "KorvaDeploymentSvc is started by the service control manager: KorvaDeploymentSvc.exe -port N\n");
    return 1;
}
