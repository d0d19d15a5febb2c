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
using testing::IsEmpty;

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

struct PlayedFolders : testing::Test {
    played::host_t host;
    logging::captured_log_t log;
    const std::wstring korva = L"\\\\host\\ADMIN$\\Korva";

    void SetUp() override {
        host.add_folder(korva);
        host.add_folder(korva + L"\\Backup");
        host.add_file(korva + L"\\Backup\\a");
    }
    void TearDown() override { EXPECT_EQ(host.left_open(), ""); }
    std::vector<std::string> removing() {
        return thrown([&] { win::remove_folder(korva, host.platform().files); });
    }
};

TEST_F(PlayedFolders, AreRemovedDeepestFirst) {
    removing();
    std::vector<std::string> removals;
    for (const std::string& call : host.calls)
        if (call.starts_with("RemoveDirectoryW") || call.starts_with("DeleteFileW"))
            removals.push_back(call);
    EXPECT_THAT(removals,
                ElementsAre("DeleteFileW(\\\\host\\ADMIN$\\Korva\\Backup\\a)",
                            "RemoveDirectoryW(\\\\host\\ADMIN$\\Korva\\Backup)", "RemoveDirectoryW(\\\\host\\ADMIN$\\Korva)"));
}

TEST_F(PlayedFolders, OneThatWillNotEmptyIsTriedThreeTimes) {
    host.fail("RemoveDirectoryW", ERROR_DIR_NOT_EMPTY, 0);
    EXPECT_THAT(removing(), ElementsAre(exc::system_error_text(ERROR_DIR_NOT_EMPTY),
                                        "Failed to delete existing empty subfolder: [\\\\host\\ADMIN$\\Korva\\Backup]."));
    EXPECT_THAT(log.texts(),
                ElementsAre("WARN|Retrying remove directory '\\\\host\\ADMIN$\\Korva\\Backup'. Retry number: '0'.",
                            "WARN|Retrying remove directory '\\\\host\\ADMIN$\\Korva\\Backup'. Retry number: '1'."));
    EXPECT_THAT(host.waits, ElementsAre(100u, 100u));
    EXPECT_EQ(host.count("RemoveDirectoryW"), 3);
}

TEST_F(PlayedFolders, ALinkIsRemovedButNeverFollowed) {
    host.files[korva + L"\\Backup"] = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
    host.fail("RemoveDirectoryW", ERROR_ACCESS_DENIED);
    removing();
    EXPECT_TRUE(host.has(korva + L"\\Backup\\a"));
    EXPECT_EQ(host.count("FindFirstFileW"), 1);
}

TEST_F(PlayedFolders, EachFailureNamesWhatItMet) {
    const struct {
        const char *call, *line;
    } rows[] = {
        {"GetFileAttributesW", "The specified directory cannot be removed: [\\\\host\\ADMIN$\\Korva]."},
        {"FindFirstFileW", "File search operation has failed. Search mask: [\\\\host\\ADMIN$\\Korva\\*]."},
        {"FindNextFileW", "File search operation has failed. Search mask: [\\\\host\\ADMIN$\\Korva\\*]."},
        {"DeleteFileW", "Failed to delete file: [\\\\host\\ADMIN$\\Korva\\Backup\\a]."},
        {"RemoveDirectoryW", "Failed to delete existing empty subfolder: [\\\\host\\ADMIN$\\Korva\\Backup]."},
    };
    for (const auto& row : rows) {
        host.recover();
        host.fail(row.call, ERROR_ACCESS_DENIED);
        EXPECT_THAT(removing(), ElementsAre(exc::system_error_text(ERROR_ACCESS_DENIED), row.line)) << row.call;
        EXPECT_EQ(host.left_open(), "") << row.call;
    }
    EXPECT_THAT(host.waits, IsEmpty());
}

}  // namespace
