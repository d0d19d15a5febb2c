#pragma once

#include <map>
#include <string>
#include <vector>

#include "foundation/com_ptr.h"
#include "logging/memory_receiver.h"
#include "tests/hv/called.h"

namespace hv_tests {

using lines_t = std::vector<std::string>;

// The port of the lab, which runs as long as the program.
unsigned lab_port();

// A console that plays the sessions of sessions.txt, where they are described.
class console_t {
public:
    explicit console_t(logging::captured_log_t& log);

    static lines_t session_names();
    // Stops at the first step that fails. Where it is given, nobody looks at log and requests.
    void play(const std::string& session, bool given = false);

    // By their names; a session adds its own.
    std::map<std::string, std::string> values;
    std::map<std::string, win::com_ptr<IUnknown>> objects;

private:
    struct step_t;
    struct expected_t;
    struct call_t;
    using session_t = std::vector<step_t>;

    static const std::map<std::string, session_t>& sessions();
    void take_step(const step_t& step, bool given);
    void fail_each_request(const call_t& call, const lines_t& lines);
    void make(const call_t& call, const expected_t& expected, bool given);
    called_t called(const call_t& call);
    void learn(std::string expected, const std::string& came);
    std::string filled(std::string text, bool as_request = false) const;

    logging::captured_log_t& log_;
};

}  // namespace hv_tests
