#pragma once

#include <string>
#include <vector>

#include "foundation/secret.h"

// What the command line asks for.
struct options_t {
    std::wstring host = L"localhost";
    int port = 2600;
    std::wstring account = L".\\operator";
    bool secure = false;
    std::wstring command;
    std::vector<std::wstring> arguments;  // of the command
};

// Throws std::invalid_argument. Without a command the help is wanted.
options_t read_options(int count, wchar_t** values);

// From the environment variable KORVA_PASSWORD, else asked for; never from the command line, which every process can read.
win::secret_t read_password(const std::wstring& account);
