#include "lab/failures.h"

#include <map>
#include <mutex>

#include "foundation/errors.h"
#include "foundation/format.h"

namespace lab {
namespace {

std::mutex lock;
std::map<std::string, std::string>& texts() {
    static std::map<std::string, std::string> map;
    return map;
}

}  // namespace

void set_failure(const std::string& procedure, std::string_view text) {
    const std::lock_guard guard(lock);
    if (text.empty())
        texts().erase(procedure);
    else
        texts()[procedure] = text;
}

void set_failure(std::string_view assignment) {
    const auto equals = assignment.find('=');
    if (equals == std::string_view::npos)
        throw exc::runtime_exc_t(text::format("A failure is written PROCEDURE=TEXT, not '%1'.", assignment));
    const std::string procedure(assignment.substr(0, equals));
    if (std::string_view(KORVA_PROCEDURES).find(' ' + procedure + ' ') == std::string_view::npos)
        throw exc::runtime_exc_t(text::format("There is no procedure '%1'.", procedure));
    set_failure(procedure, assignment.substr(equals + 1));
}

std::string failure_of(const std::string& procedure) {
    const std::lock_guard guard(lock);
    const auto found = texts().find(procedure);
    return found == texts().end() ? std::string() : found->second;
}

void clear_failures() {
    const std::lock_guard guard(lock);
    texts().clear();
}

}  // namespace lab
