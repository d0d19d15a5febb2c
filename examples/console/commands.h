#pragma once

#include <span>

#include "options.h"

// One command of the console. A new one is a file with a function like run_invoke, a line here and a line in commands.cpp.
struct command_t {
    const wchar_t* name;
    const char* usage;  // arguments, two blanks, what it does
    void (*run)(const options_t& options);
};

std::span<const command_t> commands();

void run_invoke(const options_t& options);
void run_snapshot(const options_t& options);
void run_import(const options_t& options);
void run_restore(const options_t& options);
void run_track(const options_t& options);
void run_cluster(const options_t& options);
void run_vss(const options_t& options);
