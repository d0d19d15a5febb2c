#pragma once

#include <string>
#include <string_view>

// Failures on demand: a procedure that is told to fail answers {ok 0, the text} to every call, before it does anything.
namespace lab {

// `procedure` is a name of the interface descriptions ("HvPreRestore", "DoRpc", ...). An empty text ends its failing.
void set_failure(const std::string& procedure, std::string_view text);

// The same from one text: PROCEDURE=TEXT. Throws exc::runtime_exc_t where there is no "=" or no such procedure.
void set_failure(std::string_view assignment);

// Empty where the procedure is not told to fail.
std::string failure_of(const std::string& procedure);

void clear_failures();

}  // namespace lab
