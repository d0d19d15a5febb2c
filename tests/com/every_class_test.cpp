// The rules that hold for every class, each with its interface, alone and as a part of an aggregate.
#include <gmock/gmock.h>

#include <thread>

#include "com/class_table.h"
#include "com/co_add_file_result.h"
#include "com/co_change_index.h"
#include "com/co_enum_cluster_volumes.h"
#include "com/co_enum_vss_providers.h"
#include "com/co_file_cache.h"
#include "com/co_file_standard_info.h"
#include "com/co_hv_async_op.h"
#include "com/co_hv_vss_snapshot.h"
#include "com/co_korva_deployer.h"
#include "com/co_korva_hv_cluster_manager.h"
#include "com/co_korva_hv_ctp_mngr.h"
#include "com/co_korva_hv_integrator.h"
#include "com/co_korva_hv_offhost_vss.h"
#include "com/co_korva_hv_onhost_vss.h"
#include "com/co_korva_hv_restore_mngr.h"
#include "com/co_korva_vss_info_collector.h"
#include "com/co_korva_vss_is_volumes_supported_request.h"
#include "com/co_proxy_client_logging.h"
#include "com/co_proxy_rpc_invoker.h"
#include "com/co_vdisk_mount_manager.h"
#include "com/co_vhd_mounter.h"
#include "com/co_vmdk_mounter.h"
#include "logging/memory_receiver.h"
#include "tests/com/com_test.h"
#include "tests/com/every_class.h"
#include "tests/com/type_info.h"

namespace {

template <class... Object>
std::vector<class_row> rows_of() {
    return {{__uuidof(typename Object::interface_type),
             [](IUnknown* outer) { return com::new_object<Object>(outer, nullptr)->inner(); }}...};
}

}  // namespace

const std::vector<class_row> classes =
    rows_of<com::CCoAddFileResult, com::CCoChangeIndex, com::CCoClusterVolumeInformation, com::CCoEnumClusterVolumes,
            com::CCoEnumVSSProviders, com::CCoFileCache, com::CCoFileStandardInfo, com::CCoHvAsyncOp, com::CCoHvVssSnapshot,
            com::CCoKorvaDeployer, com::CCoKorvaHvClusterManager, com::CCoKorvaHvCtpMngr, com::CCoKorvaHvIntegrator,
            com::CCoKorvaHvOffhostVss, com::CCoKorvaHvOnhostVss, com::CCoKorvaHvRestoreMngr, com::CCoKorvaVssInfoCollector,
            com::CCoKorvaVssIsVolumesSupportedRequest, com::CCoProxyClientLogging, com::CCoProxyRpcInvoker,
            com::CCoVdiskMountManager, com::CCoVhdMounter, com::CCoVmdkMounter, com::CCoVSSProviderInfo>();

namespace {

using every_class = com_test;

// An object that makes another a part of itself.
struct outer_object final : IUnknown {
    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override {
        if (iid != IID_IUnknown)
            return part->QueryInterface(iid, object);
        AddRef();
        *object = this;
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() noexcept override { return ++references; }
    STDMETHODIMP_(ULONG) Release() noexcept override { return --references; }

    ULONG references = 1;
    win::com_ptr<IUnknown> part;
};

TEST_F(every_class, IsInTheList) {
    const auto types = com::type_library::get();
    std::size_t interfaces = 0;
    for (UINT i = 0; i < types->GetTypeInfoCount(); ++i) {
        TYPEKIND kind = TKIND_ENUM;
        types->GetTypeInfoType(i, &kind);
        interfaces += kind == TKIND_DISPATCH;
    }
    EXPECT_EQ(classes.size(), interfaces);
}

// From every interface of an object every other leads to the same one, and IUnknown is always the same; nothing else is there.
void expect_one_identity(IUnknown* object, const class_row& row, IUnknown* identity) {
    const IID own[] = {IID_IUnknown, IID_IDispatch, IID_ISupportErrorInfo, row.iid};
    const auto query = [](IUnknown* from, const IID& iid) {
        win::com_ptr<IUnknown> found;
        EXPECT_EQ(from->QueryInterface(iid, reinterpret_cast<void**>(found.put())), S_OK);
        return found;
    };
    EXPECT_EQ(query(object, IID_IUnknown).get(), identity);
    for (const IID& from : own) {
        const auto start = query(object, from);
        ASSERT_TRUE(start);
        for (const IID& to : own)
            EXPECT_EQ(query(start.get(), to).get(), query(object, to).get());
        EXPECT_EQ(start->QueryInterface(row.iid, nullptr), E_POINTER);
    }
    win::com_ptr<ISupportErrorInfo> support;
    ASSERT_EQ(object->QueryInterface(IID_ISupportErrorInfo, reinterpret_cast<void**>(support.put())), S_OK);
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(IID_IDispatch), S_FALSE);
    for (const class_row& other : classes) {
        void* found = object;
        EXPECT_EQ(support->InterfaceSupportsErrorInfo(other.iid), other.iid == row.iid ? S_OK : S_FALSE);
        EXPECT_TRUE(other.iid == row.iid || (object->QueryInterface(other.iid, &found) == E_NOINTERFACE && !found));
    }
}

TEST_F(every_class, HasOneIdentityAloneAndInAnAggregate) {
    for (const class_row& row : classes) {
        SCOPED_TRACE(text::guid_text(row.iid));
        IUnknown* const object = row.make(nullptr);
        expect_one_identity(object, row, object);
        EXPECT_EQ(object->AddRef(), 2u);
        EXPECT_EQ(object->Release(), 1u);
        EXPECT_EQ(object->Release(), 0u);
        EXPECT_FALSE(com::module::in_use());

        outer_object outer;
        outer.part = win::com_ptr<IUnknown>::attach(row.make(&outer));
        expect_one_identity(&outer, row, &outer);
        win::com_ptr<IUnknown> interface_of_part;
        EXPECT_EQ(outer.part->QueryInterface(row.iid, reinterpret_cast<void**>(interface_of_part.put())), S_OK);
        EXPECT_EQ(outer.references, 2u) << "a reference to an interface of the part is one to the whole";
        interface_of_part.reset();
        EXPECT_EQ(outer.references, 1u);
        win::com_ptr<IUnknown> inner;
        EXPECT_EQ(outer.part.query(inner), S_OK);
        EXPECT_EQ(inner.get(), outer.part.get());
        inner.reset();
        EXPECT_TRUE(com::module::in_use());
        outer.part.reset();
        EXPECT_FALSE(com::module::in_use());
    }
    std::printf("%zu classes have one identity, alone and in an aggregate\n", classes.size());
}

TEST_F(every_class, CountsReferencesOfManyThreads) {
    const auto object = classes.front().make_interface();
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([&] {
                for (int n = 0; n < 20000; ++n) {
                    win::com_ptr<ISupportErrorInfo> other;
                    object.query(other);
                }
            });
    }
    object->AddRef();
    EXPECT_EQ(object->Release(), 1u);
}

// Nothing but IDispatch's own rules: the implementations are not there.
TEST_F(every_class, KnowsItsMembersByNamesInAnyCase) {
    int members = 0;
    for (const class_row& row : classes) {
        const auto object = row.make_interface();
        UINT count = 0;
        EXPECT_EQ(object->GetTypeInfoCount(&count), S_OK);
        EXPECT_EQ(count, 1u);
        win::com_ptr<ITypeInfo> info;
        EXPECT_EQ(object->GetTypeInfo(1, LOCALE_NEUTRAL, info.put()), DISP_E_BADINDEX);
        EXPECT_FALSE(info);
        DISPPARAMS none{};
        EXPECT_EQ(object->Invoke(7, IID_IUnknown, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr),
                  DISP_E_UNKNOWNINTERFACE);

        const auto table = table_of(object.get());
        for_each_member(table.get(), [&](const FUNCDESC& member) {
            std::wstring name = text::widen(name_of(table.get(), member.memid));
            wchar_t* names[] = {::_wcsupr(name.data())};
            DISPID id = 0;
            EXPECT_EQ(object->GetIDsOfNames(IID_NULL, names, 1, 0, &id), S_OK);
            EXPECT_EQ(id, member.memid);
            EXPECT_EQ(object->GetIDsOfNames(IID_IUnknown, names, 1, 0, &id), DISP_E_UNKNOWNINTERFACE);
            ++members;
        });
    }
    EXPECT_EQ(members, 124);
}

// The guard takes away what somebody else left on the thread and answers any missing pointer before it logs or does anything.
// The other methods are looked at by guard_check.py.
TEST_F(every_class, RefusesEachMissingPointerOfEveryMethod) {
    logging::captured_log_t log;
    int pointers = 0;
    for (const class_row& row : classes) {
        const auto object = row.make_interface();
        const auto table = table_of(object.get());
        log.clear();  // some log that they are created
        for_each_member(table.get(), [&](const FUNCDESC& member) {
            SCOPED_TRACE(text::guid_text(row.iid) + ", slot " + std::to_string(slot_of(member)));
            for (int missing = 0; missing < member.cParams; ++missing) {
                if (member.lprgelemdescParam[missing].tdesc.vt != VT_PTR)
                    continue;
                GUID value{};  // a GUID comes by address, too
                arguments_t arguments;
                arguments.fill(&value);
                arguments[missing] = nullptr;
                leave_foreign_error();
                EXPECT_EQ(call_member(object.get(), member, arguments), E_POINTER);
                EXPECT_FALSE(take_error());
                ++pointers;
            }
        });
        EXPECT_THAT(log.texts(), testing::IsEmpty());
    }
    EXPECT_GT(pointers, 70);
    std::printf("%d missing pointers of %zu classes\n", pointers, classes.size());
}

}  // namespace
