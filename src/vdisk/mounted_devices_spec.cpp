#include "vdisk/mounted_devices_spec.h"

#include "foundation/format.h"
#include "foundation/nesting.h"
#include "foundation/xml/document.h"

namespace impl::vdmount {
namespace {

std::vector<xml::xml_element_ptr> children(const xml::xml_node_ptr& node, std::wstring_view tag) {
    std::vector<xml::xml_element_ptr> found;
    xml::find_children_by_tag(node, tag, xml::all_children, found);
    return found;
}

std::shared_ptr<CMountedDevice> read_device(const xml::xml_element_ptr& element) {
    auto device = std::make_shared<CMountedDevice>();
    device->mountPoint = xml::get_attribute(element, L"mountPoint");
    for (const auto& name : children(xml::element_to_node(element), L"device"))
        device->names.push_back(xml::get_attribute(name, L"name"));
    return device;
}

}  // namespace

CMountedDevicesSpec parse_mounted_devices(std::wstring_view text) {
    const auto fail = [&] {
        return text::format("Failed to de-serialize specification of mounted devices. Specification string: '%1'.", text);
    };
    return exc::wrap_errors(fail, [&] {
        const auto document = xml::document_to_node(xml::load_document(text, false));
        const auto root = xml::element_to_node(xml::get_child_by_tag(document, L"mountedVolumesSpec"));
        CMountedDevicesSpec spec;
        for (const auto& element : children(root, L"mountedDevice"))
            spec.devices.push_back(
                exc::wrap_errors("Failed to de-serialize mounted device info.", [&] { return read_device(element); }));
        return spec;
    });
}

}  // namespace impl::vdmount
