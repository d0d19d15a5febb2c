#pragma once

#include <exception>
#include <initializer_list>
#include <string>

#include "foundation/format.h"

// What the console says: for people a line for each step, with --xml one document on standard output in which every line is an
// element. All text is UTF-8.

struct field_t {
    field_t(const char* field, const text::arg_t& field_value) : name(field), value(field_value.view()) {}

    const char* name;
    std::string value;
};
using fields_t = std::initializer_list<field_t>;

// The document of one run, begun and ended; nothing where no XML is wanted.
class xml_output {
public:
    xml_output(bool wanted, std::wstring_view command);
    xml_output(const xml_output&) = delete;
    ~xml_output();
};

// One step: the method and what came of it. The element has the method's name.
void show(const char* method, const std::string& outcome, fields_t fields = {});
// One of several things that the last step brought.
void show_item(const char* element, const std::string& text, fields_t fields);
// How far long work has come: no part of the result.
void show_progress(const std::string& text);
// An error with all that it tells: of a failed call the call, its HRESULT and the whole error object.
void show_failure(const std::exception& error);
