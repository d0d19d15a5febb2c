#include "files.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>

#include "foundation/convert.h"
#include "foundation/errors.h"
#include "foundation/format.h"
#include "foundation/nesting.h"
#include "foundation/system_text.h"

namespace {

namespace fs = std::filesystem;

constexpr std::wstring_view files_prefix = L"files-";

struct closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

// The system's reason stands beneath.
[[noreturn]] void fail(const char* what, const std::wstring& path) {
    const DWORD code = ::GetLastError();
    exc::runtime_exc_t failure(text::format("Cannot %1 %2.", what, path));
    failure.add_line(exc::system_error_text(code));
    throw failure;
}

std::unique_ptr<std::FILE, closer> open(const std::wstring& path, const wchar_t* mode) {
    std::unique_ptr<std::FILE, closer> file(::_wfopen(path.c_str(), mode));
    if (!file)
        fail("open", path);
    return file;
}

}  // namespace

void write_file(const std::wstring& path, std::wstring_view text) {
    const std::string bytes = text::narrow(text);
    auto file = open(path, L"wb");
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size();
    if (std::fclose(file.release()) != 0 || !written)
        fail("write", path);
}

std::wstring read_file(const std::wstring& path) {
    const auto file = open(path, L"rb");
    std::string bytes;
    char block[4096];
    while (const std::size_t count = std::fread(block, 1, sizeof block, file.get()))
        bytes.append(block, count);
    if (std::ferror(file.get()))
        fail("read", path);
    return exc::wrap_errors([&] { return text::narrow(path) + " is no UTF-8 text."; },
                            [&] { return text::widen(bytes.starts_with("\xEF\xBB\xBF") ? bytes.substr(3) : bytes); });
}

std::wstring argument_text(const std::wstring& argument) {
    return argument.starts_with(L'@') ? read_file(argument.substr(1)) : argument;
}

std::wstring saved_snapshot_t::files_of(const std::wstring& machine) const {
    if (machine.empty() || machine.find_first_of(L"\\/:*?\"<>|") != std::wstring::npos)
        throw exc::runtime_exc_t("'" + text::narrow(machine) + "' is no machine's ID.");
    return folder_ + L'\\' + std::wstring(files_prefix) + machine + L".xml";
}

std::vector<std::wstring> saved_snapshot_t::machines() const {
    std::vector<std::wstring> found;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder_)) {
        const std::wstring stem = entry.path().stem().wstring();
        if (stem.starts_with(files_prefix) && entry.path().extension() == L".xml")
            found.push_back(stem.substr(files_prefix.size()));
    }
    std::ranges::sort(found);
    return found;
}

void saved_snapshot_t::clear() const {
    fs::create_directories(folder_);
    for (const std::wstring& file : {backup_document(), writer_document(), transportable_info()})
        fs::remove(file);
    for (const std::wstring& machine : machines())
        fs::remove(files_of(machine));
}
