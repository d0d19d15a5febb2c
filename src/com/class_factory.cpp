#include "com/class_factory.h"

#include <span>
#include <vector>

#include "com/class_table.h"

namespace com {
namespace {

class class_factory final : public IClassFactory {
public:
    explicit class_factory(const class_entry& entry) noexcept : entry_(entry) {}

    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override {
        if (!object)
            return E_POINTER;
        *object = nullptr;
        if (iid != IID_IUnknown && iid != IID_IClassFactory)
            return E_NOINTERFACE;
        *object = this;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() noexcept override {
        module::lock();
        return 2;
    }
    STDMETHODIMP_(ULONG) Release() noexcept override {
        module::unlock();
        return 1;
    }

    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** object) noexcept override {
        if (!object)
            return E_POINTER;
        *object = nullptr;
        if (outer && iid != IID_IUnknown)
            return CLASS_E_NOAGGREGATION;
        return entry_.create(outer, iid, object);
    }
    STDMETHODIMP LockServer(BOOL lock) noexcept override {
        lock ? module::lock() : module::unlock();
        return S_OK;
    }

private:
    const class_entry& entry_;
};

// One factory for each row, in the table's order.
std::span<class_factory> factories() {
    static std::vector<class_factory> all(class_table().begin(), class_table().end());
    return all;
}

}  // namespace

HRESULT get_class_object(REFCLSID clsid, REFIID iid, void** result) noexcept {
    if (!result)
        return E_POINTER;
    *result = nullptr;
    class_factory* found = nullptr;
    const HRESULT searched = guarded(IID_IClassFactory, {true}, [&] {
        for (std::size_t row = 0; row < class_table().size(); ++row)
            if (class_table()[row].clsid == clsid)
                found = &factories()[row];
    });
    if (FAILED(searched))
        return searched;
    return found ? found->QueryInterface(iid, result) : CLASS_E_CLASSNOTAVAILABLE;
}

}  // namespace com
