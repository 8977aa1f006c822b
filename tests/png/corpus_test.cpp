#include <gtest/gtest.h>

#include <map>

#include "orn32.h"
#include "tests/png/plain_codec.h"
#include "tests/support/guarded.h"
#include "tests/support/test_image.h"

using namespace test;

namespace {

// The damaged files of PngSuite, and what is wrong with them.
const std::map<std::string, int> damaged = {
    {"xs1n0g01", -110}, {"xs2n0g01", -110}, {"xs4n0g01", -110}, {"xs7n0g01", -110}, {"xcrn0g04", -110},
    {"xlfn0g04", -110}, {"xhdn0g08", -111}, {"xc1n0g08", -104}, {"xc9n2c08", -104}, {"xd0n2c08", -103},
    {"xd3n2c08", -103}, {"xd9n2c08", -103}, {"xcsn0g01", -111}, {"xdtn0g01", -112},
};

std::string baseName(const std::string& file) {
    const std::size_t slash = file.rfind('/');
    return file.substr(slash + 1, file.size() - slash - 5);
}

}  // namespace

TEST(PngCorpus, EveryFileLoadsAsThePlainDecoderHasItOrIsRefusedForItsFlaw) {
    const std::vector<std::string> files = corpusFiles("png", ".png");
    if (files.empty()) GTEST_SKIP() << "no corpus";
    EXPECT_EQ(files.size(), 175u);
    std::size_t refused = 0;
    for (const std::string& name : files) {
        const Bytes bytes = readFile(name);
        const GuardedBytes file(bytes);
        const auto flaw = damaged.find(baseName(name));
        PngInfo info;
        int result = pnginfofrombuffer(file.data(), &info);
        TestImage image(result ? 1 : info.width, result ? 1 : info.height, result ? 8 : info.dibbits);
        result = loadpngfrombuffer(file.data(), image);
        if (flaw != damaged.end()) {
            refused++;
            EXPECT_EQ(result, ERR_PNG) << name;
            EXPECT_EQ(pnggeterror(), flaw->second) << name;
            continue;
        }
        ASSERT_EQ(result, 0) << name << " detail " << pnggeterror();
        Picture picture = decoded(bytes);
        for (int y = 0; y < image.height(); y++)
            for (int x = 0; x < image.width(); x++)
                ASSERT_EQ(image.pixel(x, y),
                          picture.dibPixel(static_cast<unsigned>(x), static_cast<unsigned>(y)))
                    << name << " " << x << "," << y;
    }
    EXPECT_EQ(refused, damaged.size());
}
