#include "integrator.h"

#include <algorithm>
#include <stdexcept>

#include "foundation/errors.h"
#include "output.h"
#include "steps.h"

win::com_ptr<IKorvaHvIntegrator> connect_integrator(const options_t& options) {
    auto integrator = create_client<IKorvaHvIntegrator>(L"KorvaProxyClientDll.KorvaHvIntegrator", options);
    check("TestConnection", integrator->TestConnection());
    show("TestConnection", "ok");
    stop_if_asked();
    return integrator;
}

void wait_for(const win::com_ptr<IKorvaHvAsyncOp>& operation, const options_t& options) {
    constexpr DWORD first_pause_ms = 500, longest_pause_ms = 5000;
    constexpr const char* how_to_end = "'close' ends what the host makes of it.";
    const ULONGLONG begun = ::GetTickCount64(), limit_ms = 1000ull * options.wait_seconds;
    for (DWORD poll = 1;; ++poll) {
        check("Refresh", operation->Refresh());
        VARIANT_BOOL completed = VARIANT_FALSE, succeeded = VARIANT_FALSE;
        check("IsCompleted", operation->get_IsCompleted(&completed));
        if (completed) {
            check("IsSucceeded", operation->get_IsSucceeded(&succeeded));
            win::unique_bstr error;
            check("ErrDescription", operation->get_ErrDescription(error.put()));
            show("Refresh", text::format("%1: %2", poll, succeeded ? "completed" : "failed"),
                 {{"Polls", poll}, {"Succeeded", succeeded != VARIANT_FALSE}});
            if (succeeded)
                return;
            exc::runtime_exc_t failure(text::format("The host's operation %1 has failed:", id_of(operation)));
            failure.add_line(text::narrow(win::bstr_view(error.get())));
            throw failure;
        }
        const ULONGLONG waited_ms = ::GetTickCount64() - begun;
        if (waited_ms >= limit_ms)
            throw exc::runtime_exc_t(text::format("The operation %1 has not completed in %2 seconds; %3", id_of(operation),
                                                  options.wait_seconds, how_to_end));
        show_progress(text::format("not completed after %1 s", waited_ms / 1000));
        try {
            pause_for(static_cast<DWORD>(std::min<ULONGLONG>({first_pause_ms * poll, longest_pause_ms, limit_ms - waited_ms})));
        } catch (interrupted& error) {
            error.add_line(text::format("The operation %1 goes on; %2", id_of(operation), how_to_end));
            throw;
        }
    }
}

GUID id_of(const win::com_ptr<IKorvaHvAsyncOp>& operation) {
    GUID id{};
    check("OperationID", operation->get_OperationID(&id));
    return id;
}

std::vector<xml::xml_element_ptr> elements_of(const win::unique_bstr& text, std::wstring_view root, std::wstring_view name) {
    std::vector<xml::xml_element_ptr> found;
    try {
        const auto document = xml::document_to_node(xml::load_document(win::bstr_view(text.get()), false));
        xml::find_children_by_tag(xml::element_to_node(xml::get_child_by_tag(document, root)), name, xml::all_children, found);
    } catch (const exc::exc_base_t&) {
        found.clear();
    }
    return found;
}
