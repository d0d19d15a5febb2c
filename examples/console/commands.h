#pragma once

#include <span>

#include "options.h"

// One command of the console. A new one is a file with a function like run_invoke, a line here and a row in commands.cpp.
struct command_t {
    const wchar_t* name;
    const char* arguments;
    std::size_t least, most;  // arguments
    const char* summary;
    const char* details;  // what --help tells beneath the summary, and an example
    void (*run)(const options_t& options);
};

std::span<const command_t> commands();

// Throws usage_error where there is no such command.
const command_t& find_command(const std::wstring& name);

void print_help();
void print_help(const command_t& command);

void run_invoke(const options_t& options);
void run_snapshot(const options_t& options);
void run_import(const options_t& options);
void run_close(const options_t& options);
void run_restore(const options_t& options);
void run_track(const options_t& options);
void run_cluster(const options_t& options);
void run_vss(const options_t& options);
