// late_bound.exe [HOST PORT ACCOUNT]: a command for the invoker service by names alone, as scripting languages call it. Needs
// the DLL registered (regsvr32 KorvaProxyClient.dll), but neither header nor type library. The password is taken from
// KORVA_PASSWORD; without it the service sees the caller's own logon. Either line builds it (the first was not tried where this
// kit is made):
//
//   cl /std:c++17 /EHsc /Fe..\bin\ late_bound.cpp ole32.lib oleaut32.lib uuid.lib
//   x86_64-w64-mingw32-g++ -o ../bin/late_bound.exe late_bound.cpp -std=c++17 -static -municode -lole32 -loleaut32 -luuid
#include <windows.h>

#include <oleauto.h>

#include <cstdio>
#include <cwchar>
#include <initializer_list>
#include <iterator>
#include <vector>

namespace {

struct variant : VARIANT {
    variant() { ::VariantInit(this); }
    explicit variant(const wchar_t* text) {
        vt = VT_BSTR;
        bstrVal = ::SysAllocString(text);
    }
    explicit variant(long number) {
        vt = VT_I4;
        lVal = number;
    }
    // Where the method is to put a text; `result` must hold none yet.
    explicit variant(BSTR* result) {
        vt = VT_BYREF | VT_BSTR;
        pbstrVal = result;
    }
    variant(const variant&) = delete;
    variant& operator=(const variant&) = delete;
    ~variant() { ::VariantClear(this); }
};

// Calls a method by its name; false, and the reason on the screen, where that failed.
bool call(IDispatch* object, const wchar_t* method, std::initializer_list<variant> arguments) {
    DISPID id = 0;
    auto* name = const_cast<wchar_t*>(method);
    if (FAILED(object->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id))) {
        std::printf("There is no method %ls.\n", method);
        return false;
    }
    // The last argument comes first.
    std::vector<VARIANT> reversed(std::make_reverse_iterator(arguments.end()), std::make_reverse_iterator(arguments.begin()));
    DISPPARAMS parameters = {reversed.data(), nullptr, static_cast<UINT>(reversed.size()), 0};
    EXCEPINFO exception{};
    const HRESULT result =
        object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, nullptr, &exception, nullptr);
    if (FAILED(result))
        std::printf("%ls failed (0x%08lX): %ls\n", method, static_cast<unsigned long>(result),
                    exception.bstrDescription ? exception.bstrDescription : L"");
    ::SysFreeString(exception.bstrSource);
    ::SysFreeString(exception.bstrDescription);
    ::SysFreeString(exception.bstrHelpFile);
    return SUCCEEDED(result);
}

int run(const wchar_t* host, long port, const wchar_t* account) {
    CLSID clsid{};
    IDispatch* invoker = nullptr;
    HRESULT result = ::CLSIDFromProgID(L"KorvaProxyClientDll.KorvaProxyInvoker", &clsid);
    if (SUCCEEDED(result))
        result = ::CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, reinterpret_cast<void**>(&invoker));
    if (FAILED(result)) {
        std::printf("The invoker cannot be created (0x%08lX). Is the DLL registered?\n", static_cast<unsigned long>(result));
        return 1;
    }
    const wchar_t* const password = _wgetenv(L"KORVA_PASSWORD");
    BSTR answer = nullptr;
    const bool well = call(invoker, L"SetEndpoint", {variant(host), variant(port)}) &&
                      (!password || call(invoker, L"SetAccount", {variant(account), variant(password)})) &&
                      call(invoker, L"TestConnection", {variant(L"6.0")}) &&
                      call(invoker, L"DoRpc", {variant(L"GetHostInfo"), variant(L"<Host/>"), variant(&answer)});
    if (well)
        std::printf("The service answers: %ls\n", answer);
    ::SysFreeString(answer);
    invoker->Release();
    return well ? 0 : 1;
}

}  // namespace

int wmain(int count, wchar_t** values) {
    if (FAILED(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)))
        return 1;
    const int status = run(count > 1 ? values[1] : L"localhost", count > 2 ? std::wcstol(values[2], nullptr, 10) : 2600,
                           count > 3 ? values[3] : L".\\operator");
    ::CoUninitialize();
    return status;
}
