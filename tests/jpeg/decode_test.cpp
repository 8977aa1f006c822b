// Decoded pixels against the plain second opinion.
#include <gtest/gtest.h>

#include "tests/jpeg/plain_jpeg.h"
#include "tests/support/guarded.h"
#include "tests/support/test_image.h"

using namespace test;

namespace {

// How the option has three and four components converted, unless the file says otherwise.
struct Conversion {
    UINT option;
    Colours three, four;
    bool isTheFiles = false;
};
constexpr Conversion conversions[] = {
    {0, Colours::ycbcr, Colours::ycck, true},           {0x01, Colours::ycbcr, Colours::ycck, true},
    {0x84, Colours::ycbcr, Colours::ycck, true},        {0x85, Colours::ycbcr, Colours::ycbcr},
    {JPEG_COLOR_YCBCR, Colours::ycbcr, Colours::ycbcr}, {JPEG_COLOR_RGB, Colours::rgb, Colours::rgb},
    {JPEG_COLOR_CMYK, Colours::cmyk, Colours::cmyk},    {JPEG_COLOR_YCCK, Colours::ycbcr, Colours::ycck}};

// One form of loading or another.
int load(const Bytes& stream, imgdes* image, UINT option, Random& random) {
    const TempFile file(".jpg");
    if (random.oneIn(2)) return loadjpgfrombufferex(GuardedBytes(stream).data(), image, option);
    writeFile(file.name(), stream);
    if (random.oneIn(2)) return loadjpgexW(file.wideName(), image, option);
    if (option || random.oneIn(3)) return loadjpgex(file.name(), image, option);
    return random.oneIn(2) ? loadjpg(file.name(), image) : loadjpgW(file.wideName(), image);
}

// Loads into a random area of an image that may be larger or smaller than the picture: the picture's top-left
// part must be there, and nothing else may have changed. Grey pictures bring the grey palette.
void expectExact(const CoefPicture& picture, const StreamPlan& plan, const Conversion& conversion,
                 Random& random, const std::string& name) {
    const Bytes stream = encode(picture, plan, random);
    const PlainPlanes planes = decodePlainly(picture);
    const std::size_t n = picture.components.size();
    Colours colours = n == 1 ? Colours::grey : n == 3 ? conversion.three : conversion.four;
    if (conversion.isTheFiles && plan.adobeTransform == 0 && n > 1)
        colours = n == 3 ? Colours::rgb : Colours::cmyk;
    const unsigned width = 1 + random.below(picture.width + 20),
                   height = 1 + random.below(picture.height + 20);
    TestImage image(width, height, n == 1 ? 8 : 24, random.oneIn(2));
    image.randomise(random), image.randomisePalette(random);
    const TestImage before(image);
    if (!random.oneIn(3)) image.randomArea(random);
    const std::string what = name + ", option " + std::to_string(conversion.option) + ", " + image.describe();
    ASSERT_EQ(load(stream, image, conversion.option, random), 0) << what << jpeggeterror();
    for (unsigned y = 0; y < height; y++)
        for (unsigned x = 0; x < width; x++) {
            const unsigned px = x - image->left, py = y - image->top;
            const bool inside =
                x <= image->right && y <= image->bottom && px < picture.width && py < picture.height;
            const unsigned want = inside ? plainPixel(planes, colours, px, py) : before.pixel(int(x), int(y));
            ASSERT_EQ(image.pixel(int(x), int(y)), want) << what << " at " << x << "," << y;
        }
    ASSERT_TRUE(n > 1 || (isgrayscaleimage(image) == 1 && (image->imgkind & 1))) << what;
}

constexpr const char* samplings[] = {
    "11",       "22",       "13",       "41",       "11,11,11", "21,11,11",    "22,11,11",
    "12,11,11", "41,11,11", "24,11,11", "14,11,11", "22,21,11", "11,22,11",    "31,11,11",
    "21,12,11", "32,11,21", "13,11,12", "21,21,21", "21,11,21", "11,11,11,11", "22,11,11,22"};

}  // namespace

TEST(JpegDecode, EverySamplingAndEveryKindOfScanIsExact) {
    constexpr std::pair<const char*, StreamPlan (*)(const CoefPicture&)> kinds[] = {
        {"one scan", oneScan},
        {"separate scans", separateScans},
        {"first alone", firstAloneScans},
        {"progressive", progressiveScans}};
    Random random(1);
    std::vector<std::string> all(std::begin(samplings), std::end(samplings));
    while (all.size() < 50) all.push_back(randomSampling(random));
    for (const std::string& sampling : all)
        for (unsigned round = 0; round < 24; round++) {
            CoefPicture picture =
                randomPicture(random, 1 + random.below(70), 1 + random.below(70), sampling, round >= 16);
            const auto& [kind, scans] = kinds[round % 4];
            StreamPlan plan = scans(picture);
            if (random.oneIn(2)) plan.restartInterval = 1 + random.below(5);
            if (random.oneIn(3)) plan.adobeTransform = random.between(0, 2);
            plan.wideQuant = random.oneIn(2);
            for (auto& table : picture.quant)  // products are cut to 16 bits
                for (auto& q : table)
                    if (plan.wideQuant && round >= 20) q = std::uint16_t(random.between(1, 65535));
            const Conversion& conversion = conversions[random.oneIn(2) ? 0 : random.below(8)];
            ASSERT_NO_FATAL_FAILURE(
                expectExact(picture, plan, conversion, random,
                            sampling + " " + kind + ", restart " + std::to_string(plan.restartInterval)));
        }
}

TEST(JpegDecode, AFileThatIsNotThereIsTold) {
    TestImage image(20, 10, 24);
    EXPECT_EQ(loadjpg("no such file.jpg", image), ERR_OPEN);
    EXPECT_EQ(loadjpgthumbnail("no such file.jpg", image, 0), ERR_OPEN);
}

// Restart markers and the ends of scans at every position against the borders of the read buffer.
TEST(JpegDecode, NothingIsLostWhereTheReadBufferEnds) {
    Random random(6);
    for (const bool isProgressive : {false, true}) {
        const CoefPicture picture = randomPicture(random, 256, 640, "11,11,11", true);
        StreamPlan plan = isProgressive ? progressiveScans(picture) : oneScan(picture);
        plan.restartInterval = 1;
        for (unsigned shift = 0; shift < 24; shift++) {
            plan.segments = segment(0xE1, Bytes(shift, 0));
            ASSERT_NO_FATAL_FAILURE(expectExact(
                picture, plan, conversions[0], random,
                "progressive " + std::to_string(isProgressive) + " shifted by " + std::to_string(shift)));
        }
    }
}
