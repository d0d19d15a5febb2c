// A host's VSS set-up: its providers, which of them can snapshot which volumes, and the Hyper-V writer's document.
#include <string>

#include "commands.h"
#include "integrator.h"
#include "output.h"

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
        const auto number = static_cast<std::size_t>(type);
        const char* const kind = number < std::size(kinds) ? kinds[number] : "other";
        known.push_back({id, win::bstr_text(name.get())});
        show_item("Provider",
                  text::format("%1 %2, version %3 (%4)", id, known.back().name, win::bstr_view(version.get()), kind),
                  {{"ID", id}, {"Name", known.back().name}, {"Version", win::bstr_view(version.get())}, {"Type", kind}});
    }
}

// The name of a provider that the host's answer names by its identifier, with or without braces and in any case.
std::wstring name_of(std::wstring id, const std::vector<provider_t>& providers) {
    std::erase_if(id, [](wchar_t c) { return c == L'{' || c == L'}'; });
    for (const provider_t& provider : providers)
        if (::_wcsicmp(id.c_str(), text::widen(text::guid_text(provider.id)).c_str()) == 0)
            return provider.name;
    return id;
}

void show_answer(const win::unique_bstr& answer, const std::vector<provider_t>& providers) {
    const auto volumes = elements_of(answer, L"Volumes", L"Volume");
    show("IsVolumesSupported", volumes.empty() ? text::narrow(win::bstr_view(answer.get())) : "",
         {{"Answer", win::bstr_view(answer.get())}});
    for (const xml::xml_element_ptr& volume : volumes) {
        const std::wstring name = xml::get_attribute(volume, L"Name"), provider = xml::get_attribute(volume, L"ProviderID");
        const bool supported = xml::get_attribute(volume, L"Supported") == L"true";
        show_item("Volume", text::format("%1 by %2: %3", name, name_of(provider, providers), supported ? "yes" : "no"),
                  {{"Name", name}, {"ProviderID", provider}, {"Supported", supported}});
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
    stop_if_asked();

    if (!options.arguments.empty() && !providers.empty()) {
        const auto request = create_object<IKorvaVssIsVolumesSupportedRequest>(L"KorvaProxyClientDll.KorvaVssIsVolumesSuppo");
        for (const std::wstring& volume : options.arguments)
            for (const provider_t& provider : providers)
                check("Add", request->Add(win::make_bstr(volume).get(), provider.id));
        win::unique_bstr answer;
        check("IsVolumesSupported", collector->IsVolumesSupported(request.get(), answer.put()));
        show_answer(answer, providers);
        stop_if_asked();
    }

    win::unique_bstr document;
    check("CollectHvWriterDoc", collector->CollectHvWriterDoc(document.put()));
    const std::wstring_view text = win::bstr_view(document.get());
    show("CollectHvWriterDoc", text::format("%1 characters", text.size()), {{"Document", text}});
}
