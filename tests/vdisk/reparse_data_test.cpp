#include "vdisk/reparse_data.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>

#include "foundation/convert.h"
#include "foundation/errors.h"
#include "tests/foundation/thrown.h"
#include "vdisk/device_map.h"

using namespace impl::vdmount;
using namespace std::literals;

namespace {

// "a0 0c" and so on.
bytes_t hex(std::string_view text) {
    bytes_t bytes;
    for (std::size_t i = 0; i + 1 < text.size(); i += 3)
        bytes.push_back(static_cast<std::uint8_t>(std::stoi(std::string(text.substr(i, 2)), nullptr, 16)));
    return bytes;
}

bytes_t operator+(bytes_t left, std::wstring_view right) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(right.data());
    left.insert(left.end(), bytes, bytes + right.size() * sizeof(wchar_t));
    return left;
}

TEST(ReparseData, NamesThatDoNotFitTheDataFail) {
    // Offset and length of a name within a path buffer of 8 bytes.
    for (const auto& [offset, length, fits] : {std::tuple{0, 8, true},
                                               {8, 0, true},
                                               {0, 10, false},
                                               {10, 0, false},
                                               {6, 4, false},
                                               {0xFFFF, 0xFFFE, false},
                                               {0, 7, false},
                                               {0, 0x4000, false}}) {
        bytes_t data = hex("03 00 00 a0 ff ff 00 00 00 00 00 00 00 00 00 00 ") + L"\\??\\";
        std::memcpy(data.data() + 8, &offset, 2);
        std::memcpy(data.data() + 10, &length, 2);
        EXPECT_EQ(thrown_text([&] { substitute_name(mount_point_layout, data); }) == "nothing", fits)
            << offset << ' ' << length;
    }
    EXPECT_THROW(substitute_name(mount_point_layout, hex("03 00 00 a0 00 00 00 00 00 00 ")), exc::runtime_exc_t);
    EXPECT_THROW(is_relative_link(hex("0c 00 00 a0 ")), exc::runtime_exc_t);
    EXPECT_THROW(delete_request(0x00000042, hex("42 00 00 00 00 00 00 00 01 02 ")), exc::runtime_exc_t);
}

const std::wstring volume_name = L"Volume{01234567-89aB-cdef-0123-456789abcdEF}";

TEST(ReparseData, DevicePrefixes) {
    const std::wstring volume = L"\\??\\" + volume_name;
    for (const auto& name : {L"\\??\\C:\\"s, L"\\??\\C:\\Users\\x"s})
        EXPECT_EQ(device_prefix_length(name), 6u) << text::narrow(name);
    for (const auto& name : {volume + L"\\", volume + L"\\a\\b"})
        EXPECT_EQ(device_prefix_length(name), 48u) << text::narrow(name);
    for (const auto& name : {L"\\??\\C:"s, L"\\??\\C:/x"s, L"\\??\\x"s, volume, L"\\??\\UNC\\s\\share"s,
                             L"\\??\\v" + volume.substr(5) + L"\\", volume.substr(0, 46) + L"}\\xx"})
        EXPECT_EQ(device_prefix_length(name), std::nullopt) << text::narrow(name);
    for (const wchar_t* name : {L"", L"\\??\\", L"C:\\Data", L"\\\\?\\C:\\", L"..\\x"})
        EXPECT_EQ(thrown([&] { device_prefix_length(name); }),
                  std::vector{"Unexpected substitute path format: '" + text::narrow(name) + "'."});
}

TEST(ReparseData, OneFlagMakesALinkRelative) {
    EXPECT_FALSE(is_relative_link(hex("0c 00 00 a0 0c 00 00 00 00 00 00 00 00 00 00 00 fe ff ff ff ")));
    EXPECT_TRUE(is_relative_link(hex("0c 00 00 a0 0c 00 00 00 00 00 00 00 00 00 00 00 01 00 00 00 ")));
}

device_map_t mounted_devices() {
    const CMountedDevice devices[] = {{L"E:\\Mnt\\C\\", {L"c:", L"VOLUME{01234567-89AB-CDEF-0123-456789ABCDEF}"}},
                                      {L"F:\\", {L"D:", L"UNC", L"X"}},
                                      {L"G:", {L"d:"}}};
    CMountedDevicesSpec spec;
    for (const auto& device : devices)
        spec.devices.push_back(std::make_shared<CMountedDevice>(device));
    return make_device_map(spec);
}

const reparse_layout_t& layout_of(byte_view data) { return data[0] == 0x0c ? symbolic_link_layout : mount_point_layout; }

TEST(ReparseData, PointsAreMappedFromGoldenBytesToGoldenBytes) {
    const device_map_t devices = mounted_devices();
    const std::wstring file = L"\\??\\" + volume_name + L"\\f";
    struct row_t {
        const char* what;
        bytes_t data, becomes;
    };
    const row_t rows[] = {
        // As the platform's tools write it: the print name behind the other, without the native prefix.
        {"a drive, whatever its case", hex("03 00 00 a0 24 00 00 00 00 00 10 00 12 00 08 00 ") + L"\\??\\C:\\a\0C:\\a\0"sv,
         hex("03 00 00 a0 44 00 00 00 00 00 1c 00 1e 00 1c 00 ") + L"\\??\\E:\\Mnt\\C\\a\0\\??\\E:\\Mnt\\C\\a\0"sv},
        {"the root of a device, as it was listed last",
         hex("03 00 00 a0 1a 00 00 00 02 00 0e 00 00 00 00 00 ") + L"\0\\??\\D:\\\0"sv,
         hex("03 00 00 a0 28 00 00 00 00 00 0e 00 10 00 0e 00 ") + L"\\??\\G:\\\0\\??\\G:\\\0"sv},
        {"a volume, a link", hex("0c 00 00 a0 70 00 00 00 00 00 64 00 00 00 00 00 00 00 00 00 ") + file,
         hex("0c 00 00 a0 48 00 00 00 1e 00 1c 00 00 00 1c 00 00 00 00 00 ") + L"\\??\\E:\\Mnt\\C\\f\0\\??\\E:\\Mnt\\C\\f\0"sv},
        {"a link that becomes a junction",
         hex("0c 00 00 a0 1c 00 00 00 00 00 10 00 00 00 00 00 00 00 00 00 ") + L"\\??\\d:\\\u00e9",
         hex("03 00 00 a0 2c 00 00 00 00 00 10 00 12 00 10 00 ") + L"\\??\\G:\\\u00e9\0\\??\\G:\\\u00e9\0"sv},
    };
    for (const auto& row : rows) {
        const std::wstring name = substitute_name(layout_of(row.data), row.data);
        const auto target = map_target(devices, name, device_prefix_length(name).value());
        EXPECT_EQ(set_request(layout_of(row.becomes), target.value()), row.becomes) << row.what;
    }
}

TEST(ReparseData, ATargetThatItsLengthsCannotHoldFails) {
    // 16 - 8 bytes of head, and both names with their zeros: 65535 at most.
    const std::size_t longest = (65535 - 8) / 4 - 1;
    EXPECT_NO_THROW(set_request(mount_point_layout, std::wstring(longest, L'x')));
    EXPECT_THROW(set_request(mount_point_layout, std::wstring(longest + 1, L'x')), exc::runtime_exc_t);
}

TEST(ReparseData, AMillionRandomBuffersCrashNothing) {
    // A byte read behind the end of this memory ends the test.
    constexpr std::size_t page = 4096;
    auto* const end = static_cast<std::uint8_t*>(::VirtualAlloc(nullptr, 2 * page, MEM_RESERVE, PAGE_NOACCESS)) + page;
    ASSERT_TRUE(::VirtualAlloc(end - page, page, MEM_COMMIT, PAGE_READWRITE));

    const std::wstring beginnings[] = {L"\\??\\C:\\", L"\\??\\" + volume_name + L"\\"};
    std::mt19937 random(20240607);
    bytes_t noise(60'256);
    std::generate(noise.begin(), noise.end(), [&] { return static_cast<std::uint8_t>(random()); });
    const device_map_t devices = mounted_devices();
    std::size_t drives = 0, volumes = 0, targets = 0, refused = 0;
    for (int i = 0; i < 1'000'000; ++i) {
        const std::size_t size = random() % 16 == 0 ? random() % 32 : 32 + random() % 224;
        const std::span data(end - size, size);
        std::copy_n(noise.begin() + static_cast<std::ptrdiff_t>(random() % 60'000), size, data.begin());
        // Most names fit and begin as they should; some bytes are anything.
        if (size >= 32 && random() % 32 != 0) {
            data[8] = data[9] = data[11] = 0;
            data[10] = static_cast<std::uint8_t>((14 + random() % (size - 29)) & 0xFE);
            const std::wstring& device = beginnings[random() % 2];
            std::memcpy(&data[16], device.data(), std::min(size - 16, device.size() * sizeof(wchar_t)));
        }
        const reparse_layout_t& layout = random() % 16 == 0 ? symbolic_link_layout : mount_point_layout;
        try {
            delete_request(random(), data);
            is_relative_link(data);
            const std::wstring name = substitute_name(layout, data);
            const auto prefix = device_prefix_length(name);
            drives += prefix == 6;
            volumes += prefix == 48;
            if (const auto target = prefix ? map_target(devices, name, *prefix) : std::nullopt) {
                ++targets;
                set_request(layout, *target);
            }
        } catch (const exc::runtime_exc_t&) {
            ++refused;
        }
    }
    ::VirtualFree(end - page, 0, MEM_RELEASE);
    EXPECT_GT(drives, 400'000u);
    EXPECT_GT(volumes, 100'000u);
    EXPECT_GT(targets, 400'000u);
    EXPECT_GT(refused, 100'000u);
}

}  // namespace
