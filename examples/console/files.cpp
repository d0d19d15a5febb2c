#include "files.h"

#include <cstdio>
#include <memory>
#include <stdexcept>

#include "foundation/convert.h"

namespace {

struct closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

std::unique_ptr<std::FILE, closer> open(const std::wstring& path, const wchar_t* mode) {
    std::unique_ptr<std::FILE, closer> file(::_wfopen(path.c_str(), mode));
    if (!file)
        throw std::runtime_error("Cannot open " + text::narrow(path) + ".");
    return file;
}

}  // namespace

void write_file(const std::wstring& path, std::wstring_view text) {
    const std::string bytes = text::narrow(text);
    const auto file = open(path, L"wb");
    if (std::fwrite(bytes.data(), 1, bytes.size(), file.get()) != bytes.size() || std::fflush(file.get()) != 0)
        throw std::runtime_error("Cannot write " + text::narrow(path) + ".");
}

std::wstring read_file(const std::wstring& path) {
    const auto file = open(path, L"rb");
    std::string bytes;
    char block[4096];
    while (const std::size_t count = std::fread(block, 1, sizeof block, file.get()))
        bytes.append(block, count);
    return text::widen(bytes);
}

std::wstring argument_text(const std::wstring& argument) {
    return argument.starts_with(L'@') ? read_file(argument.substr(1)) : argument;
}
