#include "vdisk/reparse_data.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "foundation/convert.h"
#include "foundation/errors.h"
#include "vdisk/device_map.h"

using namespace impl::vdmount;

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

constexpr std::wstring_view zero(L"\0", 1);

TEST(ReparseData, SubstituteNamesAreReadFromGoldenBytes) {
    // A junction as the platform's tools write it: substitute name first, the print name without the native prefix.
    const bytes_t junction =
        hex("03 00 00 a0 2e 00 00 00 00 00 14 00 16 00 0e 00") + L"\\??\\C:\\Dat" + zero + L"C:\\Data" + zero;
    EXPECT_EQ(substitute_name(mount_point_layout, junction), L"\\??\\C:\\Dat");
    // A symbolic link: print name first, both names without a zero.
    const bytes_t link = hex("0c 00 00 a0 20 00 00 00 06 00 0e 00 00 00 06 00 00 00 00 00") + L"D:\\\\??\\D:\\";
    EXPECT_EQ(substitute_name(symbolic_link_layout, link), L"\\??\\D:\\");
    EXPECT_FALSE(is_relative_link(link));
    const bytes_t relative = hex("0c 00 00 a0 14 00 00 00 00 00 08 00 00 00 08 00 01 00 00 00") + L"..\\x";
    EXPECT_EQ(substitute_name(symbolic_link_layout, relative), L"..\\x");
    EXPECT_TRUE(is_relative_link(relative));
}

TEST(ReparseData, NamesThatDoNotFitTheDataFail) {
    struct row_t {
        const char* what;
        const char* head;
        bool fits;
    };
    const row_t rows[] = {
        {"the whole path buffer", "03 00 00 a0 10 00 00 00 00 00 08 00 00 00 00 00 ", true},
        {"an empty name at its end", "03 00 00 a0 10 00 00 00 08 00 00 00 00 00 00 00 ", true},
        {"a length beyond the end", "03 00 00 a0 10 00 00 00 00 00 0a 00 00 00 00 00 ", false},
        {"an offset beyond the end", "03 00 00 a0 10 00 00 00 0a 00 00 00 00 00 00 00 ", false},
        {"offset and length together", "03 00 00 a0 10 00 00 00 06 00 04 00 00 00 00 00 ", false},
        {"all bits set", "03 00 00 a0 ff ff 00 00 ff ff fe ff ff ff ff ff ", false},
        {"half a character", "03 00 00 a0 10 00 00 00 00 00 07 00 00 00 00 00 ", false},
        {"a data length that promises more", "03 00 00 a0 00 40 00 00 00 00 00 40 00 00 00 00 ", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const bytes_t data = hex(row.head) + L"\\??\\";
        if (row.fits)
            EXPECT_NO_THROW(substitute_name(mount_point_layout, data));
        else
            EXPECT_THROW(substitute_name(mount_point_layout, data), exc::runtime_exc_t);
    }
    EXPECT_THROW(substitute_name(mount_point_layout, hex("03 00 00 a0 00 00 00 00 00 00 ")), exc::runtime_exc_t);
    EXPECT_THROW(is_relative_link(hex("0c 00 00 a0 ")), exc::runtime_exc_t);
    EXPECT_THROW(delete_request(0x00000042, hex("42 00 00 00 00 00 00 00 01 02 ")), exc::runtime_exc_t);
}

TEST(ReparseData, DevicePrefixes) {
    const std::wstring volume = L"\\??\\Volume{01234567-89ab-cdef-0123-456789abcdef}";
    struct row_t {
        std::wstring name;
        std::optional<std::size_t> length;
    };
    const row_t rows[] = {
        {L"\\??\\C:\\", 6},
        {L"\\??\\C:\\Users\\x", 6},
        {L"\\??\\C:", std::nullopt},
        {L"\\??\\C:/x", std::nullopt},
        {L"\\??\\x", std::nullopt},
        {volume + L"\\", 48},
        {volume + L"\\a\\b", 48},
        {volume, std::nullopt},
        {L"\\??\\volume{01234567-89ab-cdef-0123-456789abcdef}\\", std::nullopt},
        {L"\\??\\Volume{01234567-89ab-cdef-0123-456789abcde}\\xx", std::nullopt},
        {L"\\??\\UNC\\server\\share", std::nullopt},
    };
    for (const auto& row : rows)
        EXPECT_EQ(device_prefix_length(row.name), row.length) << text::narrow(row.name);
    for (const wchar_t* name : {L"", L"\\??\\", L"C:\\Data", L"\\\\?\\C:\\", L"..\\x"}) {
        try {
            device_prefix_length(name);
            ADD_FAILURE() << text::narrow(name);
        } catch (const exc::runtime_exc_t& error) {
            EXPECT_EQ(error.what(), "Unexpected substitute path format: '" + text::narrow(name) + "'.");
        }
    }
}

TEST(ReparseData, RequestsAreGoldenBytes) {
    EXPECT_EQ(set_request(mount_point_layout, L"\\??\\E:\\a"),
              hex("03 00 00 a0 2c 00 00 00 00 00 10 00 12 00 10 00 ") + L"\\??\\E:\\a" + zero + L"\\??\\E:\\a" + zero);
    EXPECT_EQ(
        set_request(symbolic_link_layout, L"\\??\\E:\\a"),
        hex("0c 00 00 a0 30 00 00 00 12 00 10 00 00 00 10 00 00 00 00 00 ") + L"\\??\\E:\\a" + zero + L"\\??\\E:\\a" + zero);

    const bytes_t data = hex("ff ff ff ff 22 33 44 55 00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 77 ");
    EXPECT_EQ(delete_request(0xA0000003, data), hex("03 00 00 a0 00 00 00 00 "));
    EXPECT_EQ(delete_request(0x00001234, data),
              hex("34 12 00 00 00 00 00 00 00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f "));
}

// What becomes of the data of a point; none where its device is not mounted here.
bytes_t mapped(const reparse_layout_t& layout, const reparse_layout_t& becomes, byte_view data, const device_map_t& devices) {
    const std::wstring name = substitute_name(layout, data);
    const auto prefix = device_prefix_length(name);
    const auto target = prefix ? map_target(devices, name, *prefix) : std::nullopt;
    return target ? set_request(becomes, *target) : bytes_t();
}

const std::wstring volume_name = L"Volume{01234567-89aB-cdef-0123-456789abcdEF}";

device_map_t mounted_devices() {
    const CMountedDevice devices[] = {{L"E:\\Mnt\\C\\", {L"c:", L"VOLUME{01234567-89AB-CDEF-0123-456789ABCDEF}"}},
                                      {L"F:\\", {L"D:", L"UNC", L"X"}},
                                      {L"G:", {L"d:"}}};
    CMountedDevicesSpec spec;
    for (const auto& device : devices)
        spec.devices.push_back(std::make_shared<CMountedDevice>(device));
    return make_device_map(spec);
}

TEST(ReparseData, PointsAreMappedFromGoldenBytesToGoldenBytes) {
    const device_map_t devices = mounted_devices();
    const std::wstring file = L"\\??\\" + volume_name + L"\\f";
    struct row_t {
        const char* what;
        const reparse_layout_t& layout;
        bytes_t data;
        const reparse_layout_t& becomes;
        bytes_t request;
    };
    const row_t rows[] = {
        {"a drive, whatever its case", mount_point_layout,
         hex("03 00 00 a0 1c 00 00 00 00 00 10 00 12 00 00 00 ") + L"\\??\\C:\\a" + zero + zero, mount_point_layout,
         hex("03 00 00 a0 44 00 00 00 00 00 1c 00 1e 00 1c 00 ") + L"\\??\\E:\\Mnt\\C\\a" + zero + L"\\??\\E:\\Mnt\\C\\a" +
             zero},
        {"the device that was listed last, its root", mount_point_layout,
         hex("03 00 00 a0 1a 00 00 00 02 00 0e 00 00 00 00 00 ") + zero + L"\\??\\D:\\" + zero, mount_point_layout,
         hex("03 00 00 a0 28 00 00 00 00 00 0e 00 10 00 0e 00 ") + L"\\??\\G:\\" + zero + L"\\??\\G:\\" + zero},
        {"a volume, a link", symbolic_link_layout, hex("0c 00 00 a0 70 00 00 00 00 00 64 00 00 00 00 00 00 00 00 00 ") + file,
         symbolic_link_layout,
         hex("0c 00 00 a0 48 00 00 00 1e 00 1c 00 00 00 1c 00 00 00 00 00 ") + L"\\??\\E:\\Mnt\\C\\f" + zero +
             L"\\??\\E:\\Mnt\\C\\f" + zero},
        {"a link that becomes a junction", symbolic_link_layout,
         hex("0c 00 00 a0 1c 00 00 00 00 00 10 00 00 00 00 00 00 00 00 00 ") + L"\\??\\d:\\\u00e9", mount_point_layout,
         hex("03 00 00 a0 2c 00 00 00 00 00 10 00 12 00 10 00 ") + L"\\??\\G:\\\u00e9" + zero + L"\\??\\G:\\\u00e9" + zero},
        {"a drive's plain name",
         mount_point_layout,
         hex("03 00 00 a0 14 00 00 00 00 00 0c 00 00 00 00 00 ") + L"\\??\\C:",
         mount_point_layout,
         {}},
        {"a share",
         mount_point_layout,
         hex("03 00 00 a0 1a 00 00 00 00 00 12 00 00 00 00 00 ") + L"\\??\\UNC\\s",
         mount_point_layout,
         {}},
        {"a drive that is not mounted",
         mount_point_layout,
         hex("03 00 00 a0 16 00 00 00 00 00 0e 00 00 00 00 00 ") + L"\\??\\X:\\",
         mount_point_layout,
         {}},
    };
    for (const auto& row : rows)
        EXPECT_EQ(mapped(row.layout, row.becomes, row.data, devices), row.request) << row.what;
}

TEST(ReparseData, ATargetThatItsLengthsCannotHoldFails) {
    // 16 - 8 bytes of head, and both names with their zeros: 65535 at most.
    const std::size_t longest = (65535 - 8) / 4 - 1;
    EXPECT_NO_THROW(set_request(mount_point_layout, std::wstring(longest, L'x')));
    EXPECT_THROW(set_request(mount_point_layout, std::wstring(longest + 1, L'x')), exc::runtime_exc_t);
}

// Memory whose end is the end of what may be touched: a byte read too many ends the test.
class guarded_memory_t {
public:
    static constexpr std::size_t capacity = 4096;
    guarded_memory_t() : base_(static_cast<std::uint8_t*>(::VirtualAlloc(nullptr, 2 * capacity, MEM_RESERVE, PAGE_NOACCESS))) {
        ::VirtualAlloc(base_, capacity, MEM_COMMIT, PAGE_READWRITE);
    }
    ~guarded_memory_t() { ::VirtualFree(base_, 0, MEM_RELEASE); }

    std::span<std::uint8_t> last(std::size_t size) { return {base_ + capacity - size, size}; }

private:
    std::uint8_t* base_;
};

TEST(ReparseData, AMillionRandomBuffersCrashNothing) {
    const std::wstring beginnings[] = {L"\\??\\C:\\", L"\\??\\" + volume_name + L"\\"};
    guarded_memory_t memory;
    std::mt19937 random(20240607);
    bytes_t noise(60'256);
    std::ranges::generate(noise, [&] { return static_cast<std::uint8_t>(random()); });
    const device_map_t devices = mounted_devices();
    std::size_t drives = 0, volumes = 0, targets = 0, refused = 0;
    for (int i = 0; i < 1'000'000; ++i) {
        const auto data = memory.last(random() % 16 == 0 ? random() % 32 : 32 + random() % 224);
        std::copy_n(noise.begin() + static_cast<std::ptrdiff_t>(random() % 60'000), data.size(), data.begin());
        // Most names fit and begin as they should; some bytes are anything.
        if (data.size() >= 32 && random() % 32 != 0) {
            data[8] = data[9] = data[11] = 0;
            data[10] = static_cast<std::uint8_t>((14 + random() % (data.size() - 29)) & 0xFE);
            const std::wstring& device = beginnings[random() % 2];
            const std::size_t room = std::min(data.size() - 16, device.size() * sizeof(wchar_t));
            std::memcpy(data.data() + 16, device.data(), random() % 32 == 0 ? random() % room : room);
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
    EXPECT_GT(drives, 400'000u);
    EXPECT_GT(volumes, 100'000u);
    EXPECT_GT(targets, 400'000u);
    EXPECT_GT(refused, 100'000u);
}

}  // namespace
