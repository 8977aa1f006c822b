// Test programs hold the library's objects, not the DLL: they attach it themselves.
#include <gtest/gtest.h>

#include "core/library.h"

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    orn32::attachProcess(GetModuleHandle(nullptr));
    return RUN_ALL_TESTS();
}
