// early_bound.exe [HOST PORT ACCOUNT]: a snapshot of a Hyper-V host, its machine "web" and the machine's files, by the
// generated header. The password is taken from KORVA_PASSWORD; without it the host sees the caller's own logon. Nothing is
// registered: early_bound.exe.manifest names the DLL's assembly; both manifests and the DLL lie beside the program, in ..\bin.
// There either line puts it (the first was not tried where this kit is made):
//
//   cl /std:c++17 /EHsc /Fe..\bin\ /I..\sdk early_bound.cpp ..\sdk\KorvaProxyClient_i.c ole32.lib oleaut32.lib uuid.lib
//   x86_64-w64-mingw32-g++ -o ../bin/early_bound.exe -I../sdk early_bound.cpp ../sdk/KorvaProxyClient_i.c -std=c++17 -static
//       -municode -lole32 -loleaut32 -luuid
#include <windows.h>

#include <KorvaProxyClient.h>
#include <oleauto.h>

#include <cstdio>
#include <cwchar>
#include <stdexcept>
#include <string>

namespace {

// One reference to an object; no more than this sample needs.
template <class Interface>
struct object {
    object() = default;
    object(const object&) = delete;
    object& operator=(const object&) = delete;
    ~object() {
        if (pointer)
            pointer->Release();
    }
    Interface* operator->() const { return pointer; }
    Interface* pointer = nullptr;
};

struct text {
    text() = default;
    explicit text(const std::wstring& from) : value(::SysAllocStringLen(from.data(), static_cast<UINT>(from.size()))) {}
    text(const text&) = delete;
    text& operator=(const text&) = delete;
    ~text() { ::SysFreeString(value); }
    BSTR value = nullptr;
};

std::string utf8(const wchar_t* wide) {
    std::string narrow(wide ? ::WideCharToMultiByte(CP_UTF8, 0, wide, -1, nullptr, 0, nullptr, nullptr) : 1, '\0');
    if (wide)
        ::WideCharToMultiByte(CP_UTF8, 0, wide, -1, narrow.data(), static_cast<int>(narrow.size()), nullptr, nullptr);
    narrow.pop_back();
    return narrow;
}

// The whole of error handling: the HRESULT says that a call failed, the thread's error object what failed and, line by line,
// why.
void check(const char* call, HRESULT result) {
    if (SUCCEEDED(result))
        return;
    text description;
    object<IErrorInfo> error;
    if (::GetErrorInfo(0, &error.pointer) == S_OK)
        error->GetDescription(&description.value);
    char code[32];
    std::snprintf(code, sizeof code, " failed (0x%08lX): ", static_cast<unsigned long>(result));
    throw std::runtime_error(call + (code + utf8(description.value)));
}

void wait_for(const object<IKorvaHvAsyncOp>& operation) {
    for (int poll = 0; poll < 600; ++poll) {
        check("Refresh", operation->Refresh());
        VARIANT_BOOL completed = VARIANT_FALSE, succeeded = VARIANT_FALSE;
        check("IsCompleted", operation->get_IsCompleted(&completed));
        if (!completed) {
            ::Sleep(500);
            continue;
        }
        check("IsSucceeded", operation->get_IsSucceeded(&succeeded));
        text error;
        check("ErrDescription", operation->get_ErrDescription(&error.value));
        if (!succeeded)
            throw std::runtime_error("The host could not do it: " + utf8(error.value));
        return;
    }
    throw std::runtime_error("The host has not finished in five minutes.");
}

void print_files(SAFEARRAY* files) {
    BSTR* paths = nullptr;
    check("SafeArrayAccessData", ::SafeArrayAccessData(files, reinterpret_cast<void**>(&paths)));
    for (ULONG i = 0; i < files->rgsabound[0].cElements; ++i)
        std::printf("  %s\n", utf8(paths[i]).c_str());
    ::SafeArrayUnaccessData(files);
    ::SafeArrayDestroy(files);
}

void back_up(const object<IKorvaHvVssSnapshot>& snapshot, const text& machine) {
    SAFEARRAY* files = nullptr;
    check("EnumVmFiles", snapshot->EnumVmFiles(machine.value, &files));
    std::puts("Files of the machine in the snapshot:");
    print_files(files);
    // Here a real console reads the files.
    check("SetVmBackupStatus", snapshot->SetVmBackupStatus(machine.value, VARIANT_TRUE));
}

void run(const std::wstring& host, int port, const std::wstring& account) {
    const wchar_t* const password = _wgetenv(L"KORVA_PASSWORD");
    object<IKorvaHvIntegrator> integrator;
    check("CoCreateInstance", ::CoCreateInstance(CLSID_KorvaHvIntegrator, nullptr, CLSCTX_INPROC_SERVER, IID_IKorvaHvIntegrator,
                                                 reinterpret_cast<void**>(&integrator.pointer)));
    check("SetEndpoint", integrator->SetEndpoint(text(host).value, port));
    if (password)
        check("SetAccount", integrator->SetAccount(text(account).value, text(password).value));
    check("TestConnection", integrator->TestConnection());

    object<IKorvaHvOnhostVss> onhost;
    check("OnhostVss", integrator->get_OnhostVss(&onhost.pointer));
    const std::wstring web = L"6f8d3c1e-0f5b-4a7e-9a53-0c2f5b1a9d02";  // a machine of the lab's host
    const text machine(web);
    object<IKorvaHvAsyncOp> operation;
    check("BeginSnapshotCreationEx",
          onhost->BeginSnapshotCreationEx(text(L"<Snapshot><VM ID='" + web + L"'/></Snapshot>").value, text(L"Sample").value,
                                          text(L"early_bound").value, &operation.pointer));
    wait_for(operation);

    // The host keeps a snapshot until it is told to let it go, whatever becomes of the work with it: its ID comes first.
    GUID operation_id{}, id{};
    object<IKorvaHvOffhostVss> offhost;
    check("OperationID", operation->get_OperationID(&operation_id));
    check("OffhostVss", integrator->get_OffhostVss(&offhost.pointer));
    check("GetSnapshotIDByOperationID", offhost->GetSnapshotIDByOperationID(operation_id, &id));
    try {
        object<IKorvaHvVssSnapshot> snapshot;
        check("GetSnapshotByOpID", onhost->GetSnapshotByOpID(operation_id, &snapshot.pointer));
        back_up(snapshot, machine);
    } catch (...) {
        onhost->CloseSnapshot(id);
        throw;
    }
    check("CloseSnapshot", onhost->CloseSnapshot(id));
    std::puts("Snapshot closed.");
}

}  // namespace

int wmain(int count, wchar_t** values) {
    if (FAILED(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)))
        return 1;
    int status = 0;
    try {
        run(count > 1 ? values[1] : L"localhost", count > 2 ? static_cast<int>(std::wcstol(values[2], nullptr, 10)) : 2600,
            count > 3 ? values[3] : L".\\operator");
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        status = 1;
    }
    ::CoUninitialize();
    return status;
}
