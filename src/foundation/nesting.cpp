#include "foundation/nesting.h"

#include "foundation/fire_com_exc.h"

namespace exc {

std::vector<std::string> lines_of(const std::exception& cause) {
    if (const auto* own = dynamic_cast<const exc_base_t*>(&cause))
        return own->lines();
    return {text_of(cause)};
}

runtime_exc_t nested(std::string_view message, const std::exception& cause) {
    runtime_exc_t error(message);
    for (const std::string& line : lines_of(cause))
        error.add_line(line);
    return error;
}

}  // namespace exc
