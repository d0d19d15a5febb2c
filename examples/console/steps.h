#pragma once

#include <windows.h>

#include "foundation/errors.h"

#include "output.h"

// Ctrl-C was pressed.
struct interrupted : exc::runtime_exc_t {
    interrupted() : exc::runtime_exc_t("Interrupted.") {}
};

// From now on the first Ctrl-C lets the running command tidy up on the host; the next one ends the process at once.
void catch_ctrl_c();
bool asked_to_stop();
// Both throw `interrupted` where Ctrl-C was pressed, the pause as soon as it is.
void stop_if_asked();
void pause_for(DWORD ms);

// Runs a step whose failure is only shown: a worse one is on its way.
template <class Step>
void attempt(const Step& step) {
    try {
        step();
    } catch (const std::exception& error) {
        show_failure(error);
    }
}

// Runs the step and, on every way out, its ending, which is told whether the step went well. A failure of the ending is the
// command's, unless the step has failed before: that one goes on, and the ending's is shown.
template <class Step, class Ending>
void run_and_end(const Step& step, const Ending& ending) {
    try {
        step();
    } catch (...) {
        attempt([&] { ending(false); });
        throw;
    }
    ending(true);
}
