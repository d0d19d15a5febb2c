#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <oleauto.h>

#include "com/module.h"
#include "tests/foundation/com_thread.h"
#include "tests/foundation/error_object.h"

// COM on the test's thread; when the test ends, no object of ours may be left and no error object.
class com_test : public com_thread {
protected:
    com_test() { ::SetErrorInfo(0, nullptr); }
    ~com_test() override {
        EXPECT_FALSE(com::module::in_use()) << "objects that nobody released";
        ::SetErrorInfo(0, nullptr);
    }
};
