#include "integrator.h"

#include "foundation/format.h"

win::com_ptr<IKorvaHvIntegrator> connect_integrator(const options_t& options) {
    constexpr wchar_t prog_id[] = L"KorvaProxyClientDll.KorvaHvIntegrator";
    const auto integrator = create_object<IKorvaHvIntegrator>(prog_id);
    show("CoCreateInstance", text::format("%1", prog_id));
    check("SetEndpoint", integrator->SetEndpoint(win::make_bstr(options.host).get(), options.port));
    show("SetEndpoint", text::format("%1, port %2", options.host, options.port));
    set_account(integrator, options);
    show("SetAccount", text::format("%1", options.account));
    check("TestConnection", integrator->TestConnection());
    show("TestConnection", "ok");
    return integrator;
}

bool wait_for(const win::com_ptr<IKorvaHvAsyncOp>& operation) {
    constexpr DWORD poll_ms = 500;
    for (int poll = 1;; ++poll) {
        check("Refresh", operation->Refresh());
        VARIANT_BOOL completed = VARIANT_FALSE, succeeded = VARIANT_FALSE;
        check("IsCompleted", operation->get_IsCompleted(&completed));
        if (!completed) {
            show("Refresh", text::format("%1: not completed", poll));
            ::Sleep(poll_ms);
            continue;
        }
        check("IsSucceeded", operation->get_IsSucceeded(&succeeded));
        if (succeeded) {
            show("Refresh", text::format("%1: completed", poll));
            return true;
        }
        win::unique_bstr error;
        check("ErrDescription", operation->get_ErrDescription(error.put()));
        show("Refresh", text::format("%1: failed: %2", poll, win::bstr_view(error.get())));
        return false;
    }
}

GUID id_of(const win::com_ptr<IKorvaHvAsyncOp>& operation) {
    GUID id{};
    check("OperationID", operation->get_OperationID(&id));
    return id;
}
