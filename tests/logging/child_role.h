#pragma once

#include "tests/child_process.h"

// This test program started again, to play a role of main.cpp. The arguments are joined by blanks.
class child_role : public child_process {
public:
    explicit child_role(const std::string& role_and_arguments)
        : child_process(own_path(), L"--child " + text::widen(role_and_arguments)) {}
};
