#include "vdisk/reparse_updater.h"

#include <gmock/gmock.h>

#include "foundation/format.h"
#include "logging/memory_receiver.h"
#include "tests/foundation/com_thread.h"
#include "tests/foundation/thrown.h"
#include "tests/vdisk/model_volume.h"

using namespace impl::vdmount;
using testing::_;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

const device_map_t devices = {{L"\\??\\c:", L"\\??\\E:\\Mnt\\C"}};
const model_volume_t::point_t junction{.tag = tag_mount_point, .data = junction_data(L"\\??\\C:\\Data")};
const model_volume_t::point_t link{.tag = tag_symbolic_link, .data = link_data(L"\\??\\C:\\f")};
const model_volume_t::point_t deduplicated{.tag = tag_deduplication, .data = bytes_t(100)};
const model_volume_t::point_t other{.tag = 0x80000017, .data = bytes_t(100)};

struct ReparseVolume : com_thread {
    void update(std::uint32_t max_count) {
        const auto functions = model.functions();
        update_volume(volume_context_t(L"E:\\Mnt\\C", true, functions), devices, max_count);
    }
    void expect_failure(const std::string& text) {
        EXPECT_THAT(thrown_text([&] { update(10); }), HasSubstr(text));
    }
    ~ReparseVolume() override { EXPECT_TRUE(model.is_all_given_back()); }

    model_volume_t model;
    logging::captured_log_t log;
};

TEST_F(ReparseVolume, TheLimitSaysWhetherAllButDeduplicatedFilesOrLinksAloneAreProcessed) {
    model.points = {junction, deduplicated, other, link};
    update(4);
    EXPECT_THAT(std::exchange(model.opened_points, {}), ElementsAre(0, 2, 3));
    update(3);
    EXPECT_THAT(model.opened_points, ElementsAre(0, 3));
    EXPECT_THAT(log.texts(), ElementsAre("Update of reparse points is complete. Succeeded: '3'. Failed: '0'. Total: '4'.",
                                         "WARN|Count of existing reparse points ('4') is greater than specified limits ('3'). "
                                         "Processing only symbolic links.",
                                         "Update of reparse points is complete. Succeeded: '2'. Failed: '0'. Total: '4'."));
}

TEST_F(ReparseVolume, APointThatFailsIsCountedAndTheNextGoesOn) {
    model.points = {junction, junction, junction};
    model.points[1].fails_at = model_volume_t::opening;
    update(10);
    EXPECT_THAT(log.texts(), ElementsAre("ERR |Failed to update reparse point (id: '1407374883553537', type: '0xA0000003').",
                                         ">>  |NT status code: 0xC0000022", _, ">>  |Failed to open reparse point.",
                                         "Update of reparse points is complete. Succeeded: '2'. Failed: '1'. Total: '3'."));
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
    update(10);
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
    model.points.assign(2048, junction);
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
    EXPECT_THAT(log.texts(), ElementsAre("Updating reparse points for  mounted volume 'E:\\Mnt\\C'.",
                                         "  Processing symbolic links disabled by user maxCount == 0."));
}

TEST_F(ReparseUpdate, AVolumeThatFailsDoesNotStopTheNext) {
    model.points = {junction};
    update_reparse_points(
        LR"(<mountedVolumesSpec>
        <mountedDevice mountPoint="E:\gone"><device name="D:"/></mountedDevice>
        <mountedDevice mountPoint="E:\file"/>
        <mountedDevice mountPoint="E:\Mnt\C\"><device name="C:"/><device name="Volume{AB}"/></mountedDevice>
        </mountedVolumesSpec>)",
        7, model.functions());
    EXPECT_THAT(log.texts(), ElementsAre("Device: '\\??\\c:', mount point: '\\??\\E:\\Mnt\\C'.",
                                         "Device: '\\??\\d:', mount point: '\\??\\E:\\gone'.",
                                         "Device: '\\??\\volume{ab}', mount point: '\\??\\E:\\Mnt\\C'.",
                                         "Updating reparse points for  mounted volume 'E:\\gone'.",
                                         "ERR |  Failed to update reparse points for mounted volume 'E:\\gone'. "
                                         "Maximum count of points to update: '7'.",
                                         ">>  |  Path not found.", ">>  |  Failed to get attributes of mount point 'E:\\gone'.",
                                         "Updating reparse points for  mounted volume 'E:\\file'.", _, _,
                                         ">>  |  Mount point 'E:\\file' is not a directory.",
                                         "Updating reparse points for  mounted volume 'E:\\Mnt\\C\\'.",
                                         "  Update of reparse points is complete. Succeeded: '1'. Failed: '0'. Total: '1'."));
    EXPECT_EQ(model.points[0].set, junction_data(L"\\??\\E:\\Mnt\\C\\Data"));
}

TEST_F(ReparseUpdate, ASpecificationThatCannotBeReadFailsTheWhole) {
    EXPECT_THAT(thrown([&] { update_reparse_points(L"<other/>", 7, model.functions()); }),
                testing::Contains("Failed to update reparse points. Specification: '<other/>'."));
}

}  // namespace
