// Activation by the side-by-side manifest beside the DLL, with nothing in the registry. (The early-bound sample is activated by
// the manifest of its own executable.)
#include <gtest/gtest.h>

#include "com/class_table.h"
#include "foundation/com_ptr.h"
#include "tests/child_process.h"
#include "tests/com/loaded_dll.h"
#include "tests/system/client.h"

namespace {

struct activation_context {
    explicit activation_context(const std::wstring& manifest) {
        ACTCTXW description{};
        description.cbSize = sizeof description;
        description.lpSource = manifest.c_str();
        context = ::CreateActCtxW(&description);
        EXPECT_TRUE(::ActivateActCtx(context, &cookie)) << ::GetLastError();
    }
    ~activation_context() {
        EXPECT_TRUE(::DeactivateActCtx(0, cookie));
        ::ReleaseActCtx(context);
    }
    activation_context(const activation_context&) = delete;

    HANDLE context = INVALID_HANDLE_VALUE;
    ULONG_PTR cookie = 0;
};

TEST(Activation, AContextGivesEveryClassByItsNamesAndItsTypes) {
    const single_threaded_com com;
    EXPECT_EQ(loaded_dll().unregister_server(), S_OK);  // what a test that was ended may have left
    const auto first = com::class_table().front().prog_id;
    CLSID clsid{};
    ASSERT_EQ(::CLSIDFromProgID(first, &clsid), CO_E_CLASSSTRING);
    {
        const activation_context context(child_process::own_folder() + L"KorvaProxyClient.Assembly.manifest");
        // Inside a context a ProgID leads to an alias of the class's identifier.
        for (const com::class_entry& row : com::class_table())
            for (const wchar_t* name : {row.prog_id, row.version_independent_prog_id}) {
                SCOPED_TRACE(text::narrow(name));
                ASSERT_EQ(::CLSIDFromProgID(name, &clsid), S_OK);
                for (const CLSID& wanted : {clsid, row.clsid}) {
                    win::com_ptr<IDispatch> object;
                    win::com_ptr<ITypeInfo> type;
                    ASSERT_EQ(::CoCreateInstance(wanted, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                                                 reinterpret_cast<void**>(object.put())),
                              S_OK);
                    EXPECT_EQ(object->GetTypeInfo(0, LOCALE_NEUTRAL, type.put()), S_OK);
                }
            }
        EXPECT_NE(::GetModuleHandleW(L"KorvaProxyClient.dll"), nullptr);
        const loaded_dll unloadable;
    }
    EXPECT_EQ(::CLSIDFromProgID(first, &clsid), CO_E_CLASSSTRING);
}

}  // namespace
