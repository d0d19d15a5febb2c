#pragma once

#include <windows.h>

#include <objbase.h>

// COM on the test's thread, for the XML DOM.
struct com_apartment_t {
    com_apartment_t() { ::CoInitializeEx(nullptr, COINIT_MULTITHREADED); }
    ~com_apartment_t() { ::CoUninitialize(); }
};
