// A picture saved, for looking at its bytes.
#pragma once

#include <gtest/gtest.h>

#include "tests/support/files.h"
#include "tests/support/test_image.h"

namespace test {

inline Bytes saved(imgdes* image, int quality, UINT options) {
    const TempFile file(".jpg");
    EXPECT_EQ(savejpgex(file.name(), image, quality, options), 0);
    return readFile(file.name());
}

}  // namespace test
