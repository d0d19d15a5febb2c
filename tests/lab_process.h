#pragma once

#include "tests/child_process.h"

// korva-lab.exe as a process of its own.
class lab_process : public child_process {
public:
    explicit lab_process(const std::wstring& options = L"--port 0")
        : child_process(L"korva-lab.exe", options), greeting_(read_until("endpoint mapper")) {}

    int port() const {
        constexpr std::string_view before = "serves on port ";
        const auto found = greeting_.find(before);
        EXPECT_NE(found, std::string::npos) << greeting_;
        return found == std::string::npos ? 0 : std::stoi(greeting_.substr(found + before.size()));
    }

private:
    std::string greeting_;
};
