#include "com/type_library.h"

#include <mutex>

#include "com/check.h"
#include "com/module.h"
#include "foundation/automation.h"
#include "foundation/lock.h"

namespace com::type_library {
namespace {

win::lock_t lock;
// Never destroyed by itself: as the process ends, the library that implements it may be gone already.
ITypeLib* loaded = nullptr;

struct attributes_t {
    explicit attributes_t(ITypeLib* of) : library(of) { check(of->GetLibAttr(&value), "Failed to read the type library."); }
    attributes_t(const attributes_t&) = delete;
    attributes_t& operator=(const attributes_t&) = delete;
    ~attributes_t() { library->ReleaseTLibAttr(value); }

    ITypeLib* library;
    TLIBATTR* value = nullptr;
};

}  // namespace

win::com_ptr<ITypeLib> get() {
    const std::lock_guard guard(lock);
    if (!loaded)
        check(::LoadTypeLibEx(module::path().c_str(), REGKIND_NONE, &loaded), "Failed to load the type library.");
    return win::com_ptr(loaded);
}

win::com_ptr<ITypeInfo> interface_info(const IID& iid) {
    win::com_ptr<ITypeInfo> info;
    check(get()->GetTypeInfoOfGuid(iid, info.put()), "Failed to find an interface in the type library.");
    return info;
}

void release() noexcept {
    if (loaded)
        std::exchange(loaded, nullptr)->Release();
}

void register_library() {
    std::wstring path = module::path();
    std::wstring folder = path.substr(0, path.rfind(L'\\') + 1);  // for help files; with its "\", as installers write folders
    check(::RegisterTypeLib(get().get(), path.data(), folder.data()), "Failed to register the type library.");
}

void unregister_library() {
    const auto library = get();
    const attributes_t attributes(library.get());
    const TLIBATTR& of = *attributes.value;
    win::unique_bstr path;
    if (FAILED(::QueryPathOfRegTypeLib(of.guid, of.wMajorVerNum, of.wMinorVerNum, of.lcid, path.put())))
        return;  // what is not there is unregistered
    check(::UnRegisterTypeLib(of.guid, of.wMajorVerNum, of.wMinorVerNum, of.lcid, of.syskind),
          "Failed to unregister the type library.");
}

}  // namespace com::type_library
