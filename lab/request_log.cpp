#include "lab/request_log.h"

#include "foundation/convert.h"
#include "foundation/errors.h"
#include "foundation/format.h"

namespace lab {
namespace {

std::string quoted(const wchar_t* text) {
    if (!text)
        return "null";
    std::string out = "\"";
    for (const char c : text::narrow(text)) {
        switch (c) {
            case '\r':
                out += "\\r";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '"':
                out += "\\\"";
                break;
            default:
                out += c;
        }
    }
    return out + '"';
}

}  // namespace

value_t::value_t(const char* name, const wchar_t* value) : text(text::format("%1=%2", name, quoted(value))) {}
value_t::value_t(const char* name, const GUID& guid) : text(text::format("%1=%2", name, guid)) {}
value_t::value_t(const char* name, unsigned long long number) : text(text::format("%1=%2", name, number)) {}
value_t::value_t(const char* name, std::span<const unsigned char> bytes)
    : text(text::format("%1=<%2 bytes>", name, bytes.size())) {}

void request_log::show_on_console(bool show) {
    const std::lock_guard guard(lock_);
    console_ = show;
}

void request_log::write_to_file(const std::wstring& path) {
    const std::lock_guard guard(lock_);
    file_.reset(::_wfopen(path.c_str(), L"ab"));
    if (!file_)
        throw exc::runtime_exc_t(text::format("Cannot write to '%1'.", path));
}

void request_log::add(const std::string& line) {
    constexpr std::size_t kept = 1000;
    const std::lock_guard guard(lock_);
    for (std::FILE* out : {console_ ? stdout : nullptr, file_.get()}) {
        if (out) {
            std::fprintf(out, "%s\n", line.c_str());
            std::fflush(out);
        }
    }
    if (lines_.size() == kept)
        lines_.pop_front();
    lines_.push_back(line);
}

std::vector<std::string> request_log::take() {
    const std::lock_guard guard(lock_);
    std::vector<std::string> taken(lines_.begin(), lines_.end());
    lines_.clear();
    return taken;
}

request_log& requests() {
    static request_log log;
    return log;
}

}  // namespace lab
