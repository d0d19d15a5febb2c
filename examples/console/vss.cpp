// A host's VSS set-up: its providers, which of them can snapshot which volumes, and the Hyper-V writer's document.
#include <cstdio>
#include <string>
#include <vector>

#include "commands.h"
#include "foundation/format.h"
#include "foundation/xml/document.h"
#include "integrator.h"

namespace {

struct provider_t {
    GUID id{};
    std::wstring name;
};

std::vector<provider_t> show_providers(const win::com_ptr<IEnumVSSProviders>& providers) {
    static constexpr const char* kinds[] = {"system", "hardware", "software"};
    std::vector<provider_t> known;
    show("VSSProviders", "");
    for (VARIANT_BOOL more = VARIANT_FALSE;;) {
        check("Next", providers->Next(&more));
        if (!more)
            return known;
        win::com_ptr<IVSSProviderInfo> provider;
        GUID id{};
        win::unique_bstr name, version;
        EVSSProviderType type{};
        check("Current", providers->get_Current(provider.put()));
        check("ID", provider->get_ID(&id));
        check("Name", provider->get_Name(name.put()));
        check("Type", provider->get_Type(&type));
        check("Version", provider->get_Version(version.put()));
        const auto kind = static_cast<std::size_t>(type);
        const std::string line = text::format("    %1, version %2 (%3)", win::bstr_view(name.get()),
                                              win::bstr_view(version.get()), kind < std::size(kinds) ? kinds[kind] : "other");
        std::puts(line.c_str());
        known.push_back({id, win::bstr_text(name.get())});
    }
}

// One line for each question, in their order.
void show_answer(const win::unique_bstr& answer_xml, const std::vector<provider_t>& providers) {
    const auto document = xml::document_to_node(xml::load_document(win::bstr_view(answer_xml.get()), false));
    std::vector<xml::xml_element_ptr> volumes;
    xml::find_children_by_tag(xml::element_to_node(xml::get_child_by_tag(document, L"Volumes")), L"Volume", xml::all_children,
                              volumes);
    show("IsVolumesSupported", "");
    for (std::size_t i = 0; i < volumes.size(); ++i) {
        const bool supported = xml::get_attribute(volumes[i], L"Supported") == L"true";
        const std::string line = text::format("    %1 by %2: %3", xml::get_attribute(volumes[i], L"Name"),
                                              providers[i % providers.size()].name, supported ? "yes" : "no");
        std::puts(line.c_str());
    }
}

}  // namespace

void run_vss(const options_t& options) {
    const auto integrator = connect_integrator(options);
    win::com_ptr<IKorvaVssInfoCollector> collector;
    win::com_ptr<IEnumVSSProviders> enumerator;
    check("VssInfoCollector", integrator->get_VssInfoCollector(collector.put()));
    check("VSSProviders", collector->get_VSSProviders(enumerator.put()));
    const std::vector<provider_t> providers = show_providers(enumerator);

    if (!options.arguments.empty() && !providers.empty()) {
        const auto request = create_object<IKorvaVssIsVolumesSupportedRequest>(L"KorvaProxyClientDll.KorvaVssIsVolumesSuppo");
        for (const std::wstring& volume : options.arguments)
            for (const provider_t& provider : providers)
                check("Add", request->Add(win::make_bstr(volume).get(), provider.id));
        win::unique_bstr answer;
        check("IsVolumesSupported", collector->IsVolumesSupported(request.get(), answer.put()));
        show_answer(answer, providers);
    }

    win::unique_bstr document;
    check("CollectHvWriterDoc", collector->CollectHvWriterDoc(document.put()));
    show("CollectHvWriterDoc", text::format("%1 characters", win::bstr_view(document.get()).size()));
}
