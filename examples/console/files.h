#pragma once

#include <string>
#include <string_view>
#include <vector>

// Texts that one run of the console keeps for the next, as UTF-8 files. All throw exc::runtime_exc_t.
void write_file(const std::wstring& path, std::wstring_view text);
std::wstring read_file(const std::wstring& path);

// An argument as it stands, or the content of FILE where it is "@FILE".
std::wstring argument_text(const std::wstring& argument);

// A folder with what import and restore need of a snapshot.
class saved_snapshot_t {
public:
    explicit saved_snapshot_t(std::wstring folder) : folder_(std::move(folder)) {}

    std::wstring backup_document() const { return folder_ + L"\\backup.xml"; }
    std::wstring writer_document() const { return folder_ + L"\\writers.xml"; }
    std::wstring transportable_info() const { return folder_ + L"\\shadows.txt"; }
    // The "FilesList" of a machine. Throws where its ID cannot be part of a file's name.
    std::wstring files_of(const std::wstring& machine) const;
    // The machines whose files are saved.
    std::vector<std::wstring> machines() const;

    // Makes the folder, and removes what an earlier run has saved in it: nothing old passes for new where this one fails.
    void clear() const;

private:
    std::wstring folder_;
};
