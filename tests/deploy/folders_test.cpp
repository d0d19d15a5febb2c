#include "deploy/folders.h"

#include <gmock/gmock.h>

#include "deploy/unc_path.h"
#include "foundation/convert.h"
#include "foundation/handles.h"
#include "foundation/system_text.h"
#include "logging/memory_receiver.h"
#include "tests/deploy/played_host.h"
#include "tests/foundation/thrown.h"

namespace {

using testing::ElementsAre;

std::wstring temporary(const wchar_t* name) {
    wchar_t path[MAX_PATH];
    ::GetTempPathW(MAX_PATH, path);
    return win::join_path(path, name);
}

void write_file(const std::wstring& path, DWORD attributes = FILE_ATTRIBUTE_NORMAL) {
    const win::unique_file file(::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, attributes, nullptr));
    ASSERT_TRUE(file);
}

bool exists(const std::wstring& path) { return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

TEST(Folders, AreMadeWithTheirParentsAndRemovedWithAllTheyHold) {
    const std::wstring root = temporary(L"korva folders \u00e9\u4e2d");
    win::create_folder(root + L"\\a\\b\\c");
    win::create_folder(root + L"\\a\\b\\c");
    win::create_folder(root + L"\\empty\\");
    write_file(root + L"\\a\\plain");
    write_file(root + L"\\a\\b\\c\\read-only", FILE_ATTRIBUTE_READONLY);
    write_file(root + L"\\a\\b\\hidden", FILE_ATTRIBUTE_HIDDEN);
    EXPECT_TRUE(exists(root + L"\\a\\b\\c"));
    EXPECT_TRUE(exists(root + L"\\empty"));

    win::remove_folder(root);
    EXPECT_FALSE(exists(root));
    win::remove_folder(root);  // gone already
}

TEST(Folders, AFileInTheWayOfAFolderIsAnError) {
    const std::wstring file = temporary(L"korva in the way");
    write_file(file);
    EXPECT_THAT(thrown([&] { win::create_folder(file + L"\\sub"); }).front(),
                "Cannot create folder. Folder path: [" + text::narrow(file) + "\\sub].");
    EXPECT_THAT(thrown([&] { win::remove_folder(file); }), ElementsAre("Invalid folder path: [" + text::narrow(file) + "]."));
    ::DeleteFileW(file.c_str());
}

TEST(Folders, APathWithoutARootIsAnError) {
    for (const wchar_t* path : {L"", L"C:", L"C:\\", L"Korva", L"\\\\host", L"\\\\host\\share", L"\\\\\\\\host\\ADMIN$\\Korva"})
        EXPECT_THAT(thrown([&] { win::create_folder(path); }),
                    ElementsAre("Cannot create folder. Folder path: [" + text::narrow(path) + "].",
                                "Invalid folder path: [" + text::narrow(path) + "]."));
}

TEST(PlayedFolders, AreTriedThreeTimesAndALinkIsNeverFollowed) {
    played::host_t host;
    const logging::captured_log_t log;
    const std::wstring korva = L"\\\\host\\ADMIN$\\Korva";
    host.add_folder(korva);
    host.add_file(korva + L"\\a");
    const auto removing = [&] { return thrown([&] { win::remove_folder(korva, host.platform().files); }); };

    host.files[korva] |= FILE_ATTRIBUTE_REPARSE_POINT;
    host.fail("RemoveDirectoryW", ERROR_DIR_NOT_EMPTY, 0);
    EXPECT_THAT(removing(), ElementsAre(exc::system_error_text(ERROR_DIR_NOT_EMPTY),
                                        "Failed to delete existing empty subfolder: [\\\\host\\ADMIN$\\Korva]."));
    EXPECT_THAT(log.texts(), ElementsAre("WARN|Retrying remove directory '\\\\host\\ADMIN$\\Korva'. Retry number: '0'.",
                                         "WARN|Retrying remove directory '\\\\host\\ADMIN$\\Korva'. Retry number: '1'."));
    EXPECT_THAT(host.waits, ElementsAre(100u, 100u));
    EXPECT_EQ(host.count("RemoveDirectoryW"), 3);
    host.recover();
    EXPECT_THAT(removing(), ElementsAre("nothing"));
    EXPECT_FALSE(host.has(korva));
    EXPECT_TRUE(host.has(korva + L"\\a")) << "what the link leads to stays";
}

}  // namespace
