#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <objbase.h>

// COM on the test's thread.
class com_thread : public ::testing::Test {
protected:
    com_thread() { EXPECT_EQ(::CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK); }
    ~com_thread() override { ::CoUninitialize(); }
};
