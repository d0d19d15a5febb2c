#include "deploy/folders.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "foundation/convert.h"
#include "foundation/system_text.h"
#include "logging/memory_receiver.h"
#include "tests/deploy/played_host.h"
#include "tests/foundation/thrown.h"

namespace {

using testing::ElementsAre;
namespace fs = std::filesystem;

TEST(Folders, AreMadeWithTheirParentsAndRemovedWithAllTheyHold) {
    const fs::path root = fs::temp_directory_path() / L"korva folders \u00e9\u4e2d";
    for (const wchar_t* folder : {L"a\\b\\c", L"a\\b\\c", L"empty\\"}) {
        win::create_folder((root / folder).wstring());
        EXPECT_TRUE(fs::is_directory(root / folder));
    }
    for (const auto& [name, attribute] :
         {std::pair(L"a\\plain", FILE_ATTRIBUTE_NORMAL), std::pair(L"a\\b\\c\\read-only", FILE_ATTRIBUTE_READONLY),
          std::pair(L"a\\b\\hidden", FILE_ATTRIBUTE_HIDDEN)}) {
        std::ofstream(root / name) << "x";
        EXPECT_TRUE(::SetFileAttributesW((root / name).c_str(), static_cast<DWORD>(attribute)));
    }
    win::remove_folder(root.wstring());
    EXPECT_FALSE(fs::exists(root));
    win::remove_folder(root.wstring());  // gone already
}

TEST(Folders, WhatIsNoFolderOrHasNoRootIsAnError) {
    const fs::path file = fs::temp_directory_path() / L"korva in the way";
    std::ofstream(file) << "x";
    const std::string name = text::narrow(file.wstring());
    EXPECT_EQ(thrown([&] { win::create_folder((file / L"sub").wstring()); }).front(),
              "Cannot create folder. Folder path: [" + name + "\\sub].");
    EXPECT_THAT(thrown([&] { win::remove_folder(file.wstring()); }), ElementsAre("Invalid folder path: [" + name + "]."));
    fs::remove(file);

    for (const wchar_t* path : {L"", L"C:", L"C:\\", L"Korva", L"\\\\host", L"\\\\host\\share", L"\\\\\\\\host\\ADMIN$\\Korva"})
        EXPECT_THAT(thrown([&] { win::create_folder(path); }),
                    ElementsAre("Cannot create folder. Folder path: [" + text::narrow(path) + "].",
                                "Invalid folder path: [" + text::narrow(path) + "]."));
}

TEST(Folders, ThatDoNotEmptyAreTriedThreeTimesAndALinkIsNeverFollowed) {
    played::host_t host;
    const logging::captured_log_t log;
    const std::wstring korva = L"\\\\host\\ADMIN$\\Korva";
    host.add_file(korva, FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT);
    host.add_file(korva + L"\\a");
    const auto removing = [&] { return thrown([&] { win::remove_folder(korva, host.platform().files); }); };
    host.fail("RemoveDirectoryW", ERROR_DIR_NOT_EMPTY, 0);
    EXPECT_THAT(removing(), ElementsAre(exc::system_error_text(ERROR_DIR_NOT_EMPTY),
                                        "Failed to delete existing empty subfolder: [\\\\host\\ADMIN$\\Korva]."));
    EXPECT_THAT(log.texts(), ElementsAre("WARN|Retrying remove directory '\\\\host\\ADMIN$\\Korva'. Retry number: '0'.",
                                         "WARN|Retrying remove directory '\\\\host\\ADMIN$\\Korva'. Retry number: '1'."));
    EXPECT_THAT(host.waits, ElementsAre(100u, 100u));
    host.recover();
    EXPECT_THAT(removing(), ElementsAre("nothing"));
    EXPECT_FALSE(host.has(korva));
    EXPECT_TRUE(host.has(korva + L"\\a")) << "what the link leads to stays";
}

}  // namespace
