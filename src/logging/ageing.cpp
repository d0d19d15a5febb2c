#include "logging/ageing.h"

#include "foundation/convert.h"
#include "foundation/errors.h"
#include "foundation/format.h"
#include "foundation/nesting.h"
#include "logging/log_names.h"

namespace logging {
namespace {

void take(const age_step_t& step, const file_functions_t& files) {
    if (step.to.empty()) {
        if (!files.remove(text::widen(step.from)))
            exc::throw_last_error("Failed to delete file: [%1].", step.from);
    } else if (!files.rename(text::widen(step.from), text::widen(step.to))) {
        exc::throw_last_error("Failed to rename file [%1] to [%2].", step.from, step.to);
    }
}

}  // namespace

std::vector<age_step_t> age_files(std::string_view path, std::string_view extension, unsigned limit,
                                  const file_functions_t& files) {
    const auto fail = [&] {
        return text::format("Cannot age file. File path: [%1]. Extension: [%2]. Ages limit: [%3].", path, extension, limit);
    };
    return exc::wrap_errors(fail, [&] {
        std::vector<age_step_t> taken;
        try {
            for (unsigned index = limit + 1; index-- > 0;) {
                const std::string name = make_aged_name(path, extension, index);
                if (!files.exists(text::widen(name)))
                    continue;
                const age_step_t step{name, index == limit ? "" : make_aged_name(path, extension, index + 1)};
                take(step, files);
                taken.push_back(step);
            }
        } catch (...) {
            undo_ageing(taken, files);
            throw;
        }
        return taken;
    });
}

void undo_ageing(const std::vector<age_step_t>& taken, const file_functions_t& files) {
    for (auto step = taken.rbegin(); step != taken.rend(); ++step) {
        if (!step->to.empty())
            files.rename(text::widen(step->to), text::widen(step->from));
    }
}

}  // namespace logging
