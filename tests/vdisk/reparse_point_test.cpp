#include "vdisk/reparse_point.h"

#include <gmock/gmock.h>

#include "logging/memory_receiver.h"
#include "tests/vdisk/model_volume.h"
#include "vdisk/reparse_updater.h"

using namespace impl::vdmount;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

using point_t = model_volume_t::point_t;

point_t junction(std::wstring_view target) { return {.tag = tag_mount_point, .data = junction_data(target)}; }

point_t link(std::wstring_view target, bool directory = true) {
    return {.tag = tag_symbolic_link, .data = link_data(target), .directory = directory};
}

point_t relative_link(std::wstring_view target) { return {.tag = tag_symbolic_link, .data = link_data(target, true)}; }

point_t raw(std::uint32_t tag, std::size_t size) {
    bytes_t data(size, 0x5A);
    std::copy_n(reinterpret_cast<const std::uint8_t*>(&tag), sizeof tag, data.begin());
    return {.tag = tag, .data = data};
}

point_t failing(DWORD step, point_t point = junction(L"\\??\\C:\\Data")) {
    point.fails_at = step;
    return point;
}

const device_map_t devices = {{L"\\??\\c:", L"\\??\\E:\\Mnt\\C"}};

struct result_t {
    point_t point;
    std::vector<std::string> log;
};

// Updates a volume of this one point.
result_t update(const point_t& point, bool may_link) {
    model_volume_t model;
    model.points = {point};
    model.privilege_error = may_link ? 0 : ERROR_NOT_ALL_ASSIGNED;
    const auto functions = model.functions();
    const logging::captured_log_t log;
    update_volume(volume_context_t(model.path, true, functions), devices, 1);
    EXPECT_TRUE(model.is_all_given_back());
    return {model.points[0], log.texts()};
}

bytes_t as_junction(std::wstring_view target) { return set_request(mount_point_layout, target); }
bytes_t as_link(std::wstring_view target) { return set_request(symbolic_link_layout, target); }

constexpr auto succeeded = "Update of reparse points is complete. Succeeded: '1'. Failed: '0'. Total: '1'.";
constexpr auto failed = "Update of reparse points is complete. Succeeded: '0'. Failed: '1'. Total: '1'.";

const bytes_t none;

TEST(ReparsePoint, FollowsItsDeviceOrIsDeletedOrFails) {
    struct row_t {
        const char* what;
        point_t point;
        bool may_link;
        bool deleted;
        bytes_t set;
        const char* line;  // in the log; of a point that fails, the error's text
        bool fails = false;
    };
    const row_t rows[] = {
        {"a drive", junction(L"\\??\\C:\\Data"), true, true, as_junction(L"\\??\\E:\\Mnt\\C\\Data"), succeeded},
        {"a link to a file", link(L"\\??\\C:\\f", false), true, true, as_link(L"\\??\\E:\\Mnt\\C\\f"), succeeded},
        {"a link to a directory without the privilege", link(L"\\??\\C:\\d"), false, true, as_junction(L"\\??\\E:\\Mnt\\C\\d"),
         succeeded},
        {"a file without the privilege", link(L"\\??\\C:\\f", false), false, true, none, succeeded},
        {"a relative link alone stays", relative_link(L"..\\x"), true, false, none, "Skipping relative symbolic link."},
        {"no such device", junction(L"\\??\\D:\\x"), true, true, none,
         "Unable to find matching device for substitute path '\\??\\D:\\x'."},
        {"no device", junction(L"\\??\\UNC\\server\\share"), true, true, none,
         "Skipping reparse point with substitute path '\\??\\UNC\\server\\share'."},
        {"another tag of Microsoft's", raw(0x80000017, 24), true, true, none, succeeded},
        {"a tag with a GUID", raw(0x00001234, 9000), true, true, none, succeeded},
        {"cannot be opened", failing(model_volume_t::opening), true, false, none, "Failed to open reparse point.", true},
        {"cannot be read", failing(model_volume_t::reading), true, false, none, "Failed to retrieve reparse point data.", true},
        {"shorter than any head", raw(tag_mount_point, 23), true, false, none,
         "Unable to update reparse point: returned size is less than size of header '23'.", true},
        {"cannot be deleted", failing(model_volume_t::deleting), true, false, none, "Failed to delete reparse point.", true},
        {"attributes cannot be read", failing(model_volume_t::reading_attributes, link(L"\\??\\C:\\d")), false, true, none,
         "Failed to get file information by handle for symbolic reparse point.", true},
        {"cannot be set", failing(model_volume_t::setting), true, true, none, "Failed to set reparse point.", true},
        {"a relative link without the privilege", relative_link(L"..\\dir"), false, true, none,
         "Unexpected substitute path format: '..\\dir'.", true},
        {"a name outside the data", raw(tag_mount_point, 40), true, true, none,
         "Reparse point data of 40 bytes lacks 23130 bytes at offset 23146.", true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const auto [point, log] = update(row.point, row.may_link);
        EXPECT_EQ(point.deleted, row.deleted);
        EXPECT_EQ(point.set, row.set);
        EXPECT_THAT(log, Contains(HasSubstr(row.line)));
        EXPECT_THAT(log, Contains(row.fails ? failed : succeeded));
        const auto line = HasSubstr("ERR |Failed to update reparse point (id: '1407374883553536', type: '0xA000000");
        EXPECT_THAT(log, Contains(line).Times(row.fails ? 1 : 0));
    }
}

TEST(ReparsePoint, DataIsReadIntoABufferThatGrows) {
    const std::wstring rest(4000, L'x');
    for (const DWORD too_small : {ERROR_BUFFER_OVERFLOW, ERROR_INSUFFICIENT_BUFFER, ERROR_MORE_DATA}) {
        point_t point = junction(L"\\??\\C:\\" + rest);
        point.too_small_error = point.error = too_small;
        const point_t updated = update(point, true).point;
        EXPECT_EQ(updated.set, as_junction(L"\\??\\E:\\Mnt\\C\\" + rest));
        EXPECT_THAT(updated.read_sizes, ElementsAre(4096, 8192, 12288, 16384));
        // Whoever has more than its length can say is broken: the growth ends.
        EXPECT_EQ(update(failing(model_volume_t::reading, point), true).point.read_sizes.back(), 69632u);
    }
}

}  // namespace
