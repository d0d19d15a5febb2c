#include "lab/change_tracking.h"

#include <algorithm>

#include "foundation/errors.h"
#include "foundation/format.h"
#include "lab/serve.h"

namespace lab {

const tracked_file_t& change_tracking_t::add(const std::wstring& name, std::uint32_t block_size, std::uint32_t options) {
    check_initialised();
    if (name.empty() || block_size == 0)
        throw exc::runtime_exc_t("A file needs a name and a block size.");
    if (std::ranges::count(files_, name, &tracked_file_t::name))
        throw exc::runtime_exc_t(text::format("The file '%1' is tracked already.", name));
    files_.push_back(
        {.id = ++last_id_, .name = name, .block_size = block_size, .options = options, .generation_id = new_guid()});
    return files_.back();
}

void change_tracking_t::remove(std::uint32_t id) {
    file(id);
    std::erase_if(files_, [&](const tracked_file_t& file) { return file.id == id; });
}

tracked_file_t& change_tracking_t::file(std::uint32_t id) {
    check_initialised();
    const auto found = std::ranges::find(files_, id, &tracked_file_t::id);
    if (found == files_.end())
        throw exc::runtime_exc_t(text::format("No file with the ID %1 is tracked.", id));
    return *found;
}

const tracked_file_t& change_tracking_t::file(const std::wstring& name) const {
    check_initialised();
    const auto found = std::ranges::find(files_, name, &tracked_file_t::name);
    if (found == files_.end())
        throw exc::runtime_exc_t(text::format("The file '%1' is not tracked.", name));
    return *found;
}

void change_tracking_t::flush(std::uint32_t id) {
    tracked_file_t& flushed = file(id);
    if (++flushed.current_index == 0)
        flushed.generation_id = new_guid();  // the count began again
}

std::wstring change_tracking_t::tracking_file_of(const tracked_file_t& file) const {
    constexpr std::uint32_t store_with_file = 512;
    return file.options & store_with_file ? file.name + L".ctp" : store_path + L'\\' + std::to_wstring(file.id) + L".ctp";
}

void change_tracking_t::check_initialised() const {
    if (!initialised_)
        throw exc::runtime_exc_t("Change tracking is not initialised.");
}

}  // namespace lab
