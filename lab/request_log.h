#pragma once

#include <windows.h>

#include <cstdio>
#include <deque>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <vector>

namespace lab {

// One value of a request as the log shows it: text in quotes (line ends and quotes escaped as in C), numbers in decimal, a
// byte block as its size, null as the word.
struct value_t {
    value_t(const char* name, const wchar_t* text);
    value_t(const char* name, const GUID& guid);
    value_t(const char* name, unsigned long long number);
    value_t(const char* name, std::span<const unsigned char> bytes);

    std::string text;  // NAME=VALUE
};

// What the lab received, one line for each request: the procedure's name and its values,
//
//   DoRpc command="GetHostInfo" input_xml="<Host/>"
//
// The last 1000 lines are kept for tests; the console and a file are there when they are asked for.
class request_log {
public:
    void show_on_console(bool show);
    // Appends to the file. Throws exc::runtime_exc_t where it cannot be opened.
    void write_to_file(const std::wstring& path);

    void add(const std::string& line);
    // The lines since the last take.
    std::vector<std::string> take();

private:
    struct closer {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    std::mutex lock_;
    bool console_ = false;
    std::unique_ptr<std::FILE, closer> file_;
    std::deque<std::string> lines_;
};

// The log of this process.
request_log& requests();

}  // namespace lab
