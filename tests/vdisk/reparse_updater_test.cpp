#include "vdisk/reparse_updater.h"

#include <gmock/gmock.h>

#include "foundation/format.h"
#include "logging/memory_receiver.h"
#include "tests/expected_texts.h"
#include "tests/foundation/com_thread.h"
#include "tests/foundation/thrown.h"
#include "tests/vdisk/model_volume.h"

using namespace impl::vdmount;
using testing::_;
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using point_t = model_volume_t::point_t;

namespace {

const char texts[] =
#include "tests/vdisk/reparse_updater.txt"
    ;

const device_map_t devices = {{L"\\??\\c:", L"\\??\\E:\\Mnt\\C"}};

point_t junction(std::wstring_view target = L"\\??\\C:\\Data") {
    return {.tag = tag_mount_point, .data = set_request(mount_point_layout, target)};
}
point_t link(std::wstring_view target, bool directory = true) {
    return {.tag = tag_symbolic_link, .data = set_request(symbolic_link_layout, target), .directory = directory};
}
point_t relative_link(std::wstring_view target) {
    point_t point = link(target);
    point.data[16] = 1;
    return point;
}
point_t raw(std::uint32_t tag, std::size_t size) {
    bytes_t data(size, 0x5A);
    std::copy_n(reinterpret_cast<const std::uint8_t*>(&tag), sizeof tag, data.begin());
    return {.tag = tag, .data = data};
}
point_t failing(DWORD step, point_t point = junction()) {
    point.fails_at = step;
    return point;
}

const point_t deduplicated = raw(tag_deduplication, 100);

struct ReparseVolume : com_thread {
    void update(std::uint32_t max_count = 10) {
        log.clear();
        const auto functions = model.functions();
        update_volume(volume_context_t(L"E:\\Mnt\\C", true, functions), devices, max_count);
        EXPECT_TRUE(model.is_all_given_back());
    }
    void expect_failure(const std::string& text) {
        EXPECT_THAT(thrown_text([&] { update(); }), HasSubstr(text));
    }
    ~ReparseVolume() override { EXPECT_TRUE(model.is_all_given_back()); }

    model_volume_t model;
    logging::captured_log_t log;
};

TEST_F(ReparseVolume, EachPointFollowsItsDeviceOrIsDeletedOrFails) {
    const bytes_t none;
    const char* const succeeded = "Update of reparse points is complete. Succeeded: '1'. Failed: '0'. Total: '1'.";
    const char* const failed = "Update of reparse points is complete. Succeeded: '0'. Failed: '1'. Total: '1'.";
    const struct {
        const char* what;
        point_t point;
        bool may_link;
        bool deleted;
        bytes_t set;
        const char* line;  // in the log; of a point that fails, the error's text
        bool fails = false;
    } rows[] = {
        {"a drive", junction(L"\\??\\C:\\Data"), true, true, junction(L"\\??\\E:\\Mnt\\C\\Data").data, succeeded},
        {"a link to a file", link(L"\\??\\C:\\f", false), true, true, link(L"\\??\\E:\\Mnt\\C\\f").data, succeeded},
        {"a link to a directory without the privilege", link(L"\\??\\C:\\d"), false, true,
         junction(L"\\??\\E:\\Mnt\\C\\d").data, succeeded},
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
        model.points = {row.point};
        model.privilege_error = row.may_link ? 0 : ERROR_NOT_ALL_ASSIGNED;
        update();
        EXPECT_EQ(model.points[0].deleted, row.deleted);
        EXPECT_EQ(model.points[0].set, row.set);
        EXPECT_THAT(log.texts(), Contains(HasSubstr(row.line)));
        EXPECT_EQ(log.texts().back(), row.fails ? failed : succeeded);
        const auto line = HasSubstr("ERR |Failed to update reparse point (id: '1407374883553536', type: '0xA000000");
        EXPECT_THAT(log.texts(), Contains(line).Times(row.fails ? 1 : 0));
    }
}

TEST_F(ReparseVolume, DataIsReadIntoABufferThatGrows) {
    const std::wstring rest(4000, L'x');
    for (const DWORD too_small : {ERROR_BUFFER_OVERFLOW, ERROR_INSUFFICIENT_BUFFER, ERROR_MORE_DATA}) {
        point_t point = junction(L"\\??\\C:\\" + rest);
        point.too_small_error = point.error = too_small;
        model.points = {point};
        update();
        EXPECT_EQ(model.points[0].set, junction(L"\\??\\E:\\Mnt\\C\\" + rest).data);
        EXPECT_THAT(model.points[0].read_sizes, ElementsAre(4096, 8192, 12288, 16384));
        // Whoever has more than its length can say is broken: the growth ends.
        model.points = {failing(model_volume_t::reading, point)};
        update();
        EXPECT_EQ(model.points[0].read_sizes.back(), 69632u);
    }
}

TEST_F(ReparseVolume, TheLimitSaysWhetherAllButDeduplicatedFilesOrLinksAloneAreProcessed) {
    model.points = {junction(), deduplicated, raw(0x80000017, 100), link(L"\\??\\C:\\f")};
    update(4);
    EXPECT_THAT(std::exchange(model.opened_points, {}), ElementsAre(0, 2, 3));
    EXPECT_THAT(log.texts(), ElementsAreArray(section(texts, "all")));
    update(3);
    EXPECT_THAT(model.opened_points, ElementsAre(0, 3));
    EXPECT_THAT(log.texts(), ElementsAreArray(section(texts, "links alone")));
}

TEST_F(ReparseVolume, APointThatFailsIsCountedAndTheNextGoesOn) {
    model.points = {junction(), failing(model_volume_t::opening), junction()};
    update();
    EXPECT_THAT(log.texts(), ElementsAreArray(section(texts, "a point that fails")));
}

TEST_F(ReparseVolume, TheIndexIsReadInPassesUntilOneIsShort) {
    for (const auto& [entries, passes, end_status] : {std::tuple{0, 1u, 0xC000000F},
                                                      {1023, 1u, 0xC0000001},
                                                      {1024, 2u, 0x80000006},
                                                      {2048, 3u, 0xC000000F},
                                                      {1024, 2u, 0u}}) {
        model.points.assign(entries, deduplicated);
        model.end_status = end_status;
        update(5000);
        EXPECT_EQ(model.passes, passes);
        EXPECT_EQ(log.texts().back(),
                  text::format("Update of reparse points is complete. Succeeded: '0'. Failed: '0'. Total: '%1'.", entries));
    }
}

TEST_F(ReparseVolume, APrivilegeThatCannotBeTakenIsLoggedByItsNumber) {
    model.privilege_error = ERROR_NOT_ALL_ASSIGNED;
    update();
    EXPECT_THAT(log.texts(), ElementsAre("ERR |Failed to acquire privilege '34'.", _, ">>  |Refused.", _));
}

TEST_F(ReparseVolume, AVolumeThatCannotBeReadFailsWhole) {
    model.root_error = ERROR_ACCESS_DENIED;
    expect_failure("Failed to open mounted volume: 'E:\\Mnt\\C\\'.");
    model.root_error = 0;
    model.index_status = 0xC0000034;
    expect_failure("NT status code: 0xC0000034");
    expect_failure("Failed to open reparse directory object.");
    model.index_status = 0;
    model.points.assign(2048, junction());
    model.end_status = 0xC0000102;
    expect_failure("Failed to query reparse point information.");
    expect_failure("NT status code: 0xC0000102");
    EXPECT_THAT(model.opened_points, IsEmpty()) << "no point is touched before the whole index is read";
    model.missing_function = "NtQueryDirectoryFile";
    expect_failure("Failed to find function 'NtQueryDirectoryFile' in ntdll.dll.");
}

// As the updater creates it, with the platform's own functions.
TEST_F(ReparseVolume, ItsFunctionsAreLookedUp) {
    const volume_functions_t platform;
    const volume_context_t volume(L"C:\\none", false, platform);
    const HMODULE ntdll = ::GetModuleHandleW(L"ntdll.dll");
    EXPECT_EQ(volume.mount_point, L"C:\\none\\");
    EXPECT_EQ(reinterpret_cast<FARPROC>(volume.nt_create_file), ::GetProcAddress(ntdll, "NtCreateFile"));
    EXPECT_EQ(reinterpret_cast<FARPROC>(volume.nt_query_directory_file), ::GetProcAddress(ntdll, "NtQueryDirectoryFile"));
}

using ReparseUpdate = ReparseVolume;

TEST_F(ReparseUpdate, ALimitOfNoneOpensNoVolume) {
    update_reparse_points(LR"(<mountedVolumesSpec><mountedDevice mountPoint="E:\Mnt\C"/></mountedVolumesSpec>)", 0,
                          model.functions());
    EXPECT_EQ(model.opens, 0u);
    EXPECT_THAT(log.texts(), ElementsAreArray(section(texts, "a limit of none")));
}

TEST_F(ReparseUpdate, AVolumeThatFailsDoesNotStopTheNext) {
    model.points = {junction()};
    std::string specification;
    for (const std::string& line : section(texts, "specification"))
        specification += line;
    update_reparse_points(text::widen(specification), 7, model.functions());
    EXPECT_THAT(log.texts(), ElementsAreArray(section(texts, "update")));
    EXPECT_EQ(model.points[0].set, junction(L"\\??\\E:\\Mnt\\C\\Data").data);
}

TEST_F(ReparseUpdate, ASpecificationThatCannotBeReadFailsTheWhole) {
    EXPECT_THAT(thrown([&] { update_reparse_points(L"<other/>", 7, model.functions()); }),
                Contains("Failed to update reparse points. Specification: '<other/>'."));
}

}  // namespace
