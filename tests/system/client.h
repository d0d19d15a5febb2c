#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <objbase.h>

// Wine takes the threading model "Neutral" for the main single-threaded apartment; only there calls are direct.
struct single_threaded_com {
    single_threaded_com() { EXPECT_EQ(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK); }
    ~single_threaded_com() { ::CoUninitialize(); }
};
