#include "pictures.h"

#include <algorithm>

namespace bench {
namespace {

constexpr int width = 2048, height = 1536;

class Random {
 public:
    explicit Random(std::uint32_t seed) : state_(seed) {}
    std::uint32_t next() {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 17;
        state_ ^= state_ << 5;
        return state_;
    }
    int below(int n) { return static_cast<int>((next() >> 8) % static_cast<unsigned>(n)); }
    int between(int low, int high) { return low + below(high - low + 1); }

 private:
    std::uint32_t state_;
};

// --- the photograph --------------------------------------------------------------------------------------

// Fractal heights on a torus by midpoint displacement: like a photograph, as much contrast at every scale as
// the roughness (in 256ths, kept per halving of the scale) allows.
class Terrain {
 public:
    Terrain(std::uint32_t seed, int amplitude, int roughness) : heights_(side * side), random_(seed) {
        for (int step = side; step > 1; step /= 2) {
            const int half = step / 2;
            for (int y = 0; y < side; y += step)
                for (int x = 0; x < side; x += step)
                    set(x + half, y + half, amplitude,
                        at(x, y) + at(x + step, y) + at(x, y + step) + at(x + step, y + step));
            for (int y = 0; y < side; y += half)
                for (int x = y & half ? 0 : half; x < side; x += step)
                    set(x, y, amplitude,
                        at(x - half, y) + at(x + half, y) + at(x, y - half) + at(x, y + half));
            amplitude = amplitude * roughness / 256;
        }
    }
    int at(int x, int y) const { return heights_[index(x, y)]; }

 private:
    static constexpr int side = 2048;
    static std::size_t index(int x, int y) {
        return static_cast<std::size_t>((y & (side - 1)) * side + (x & (side - 1)));
    }
    void set(int x, int y, int amplitude, int sumOfFour) {
        heights_[index(x, y)] = (sumOfFour >> 2) + (amplitude ? random_.between(-amplitude, amplitude) : 0);
    }

    std::vector<std::int32_t> heights_;
    Random random_;
};

struct Light {
    int red, green, blue;
};

Light mix(Light a, Light b, int part256) {
    const auto one = [&](int p, int q) { return p + (q - p) * part256 / 256; };
    return {one(a.red, b.red), one(a.green, b.green), one(a.blue, b.blue)};
}

class Landscape {
 public:
    Landscape() : smooth_(0x51A7E, 4000, 140), rough_(0xB0CC1, 2600, 164) {}

    Light at(int x, int y) const { return y < shore(x) ? above(x, y) : lake(x, y); }

 private:
    static int clampTo256(int v) { return std::clamp(v, 0, 256); }
    int ridge(int x) const { return 480 + rough_.at(x, 300) / 24 + smooth_.at(x, 100) / 32; }
    int shore(int x) const { return 1020 + smooth_.at(x, 900) / 160; }

    Light above(int x, int y) const { return y < ridge(x) ? sky(x, y) : mountain(x, y); }

    Light sky(int x, int y) const {
        const Light blue = mix({62, 108, 178}, {214, 206, 192}, clampTo256(y * 256 / 620));
        const int cloud = clampTo256(smooth_.at(x, y * 2) / 12 + rough_.at(x, y * 2) / 64 - 40);
        return mix(blue, {246, 240, 232}, cloud);
    }

    // Rock lit from the upper left, with trees on its lower slopes and haze before its heights.
    Light mountain(int x, int y) const {
        const int slope = rough_.at(x, y) - rough_.at(x - 2, y - 2);
        const int lit = std::clamp(150 + slope, 20, 330);
        const int depth = clampTo256((y - ridge(x)) * 256 / (shore(x) - ridge(x) + 1));
        const bool snow = rough_.at(x, y) / 8 + depth < 60;
        const bool trees = rough_.at(x + 900, y) / 6 + depth > 150;
        const Light ground = snow ? Light{232, 236, 244} : trees ? Light{46, 74, 38} : Light{128, 112, 94};
        const Light shaded = {ground.red * lit / 200, ground.green * lit / 200, ground.blue * lit / 200};
        return mix(shaded, {168, 182, 202}, (256 - depth) / 3);
    }

    // The scene upside down, darker and moved about by waves that are wider in front; a sail for a hard edge.
    Light lake(int x, int y) const {
        const int below = y - shore(x);
        const int wave = smooth_.at(x * 2, y * 9) * (below + 30) / 30000;
        const int mirrored = std::clamp(shore(x) - below * 3 / 2 + wave, 0, shore(x) - 1);
        const Light water =
            mix(above((x + wave) & 2047, mirrored), {24, 44, 58}, std::min(110 + below / 6, 200));
        const int sail = x - 1400;
        if (sail >= 0 && y > 1060 && y < 1300 && sail < (y - 1060) * 5 / 8)
            return {226 - sail / 4, 222 - sail / 4, 210 - sail / 3};
        return water;
    }

    Terrain smooth_, rough_;
};

Picture makePhotograph() {
    Picture picture = {width, height, 24, Bytes(std::size_t{width} * height * 3), {}};
    const Landscape landscape;
    Random grain(77);
    std::uint8_t* p = picture.pixels.data();
    // The sum of two even numbers out of 0 to 3: about what a sensor adds.
    const auto exposed = [](int light, std::uint32_t noise) {
        return static_cast<std::uint8_t>(
            std::clamp(light + static_cast<int>((noise & 3) + (noise >> 2 & 3)) - 3, 0, 255));
    };
    for (int y = 0; y < height; y++) {
        for (int x = 0; x < width; x++) {
            const Light light = landscape.at(x, y);
            const std::uint32_t noise = grain.next();
            *p++ = exposed(light.blue, noise);
            *p++ = exposed(light.green, noise >> 8);
            *p++ = exposed(light.red, noise >> 16);
        }
    }
    return picture;
}

// --- the graphic -----------------------------------------------------------------------------------------

// Colours of the palette below: 3 bits red, 3 bits green, 2 bits blue.
constexpr int white = 0xFF, black = 0x00, panel = 0xDB, desktop = 0x31, grid = 0xB6;

class Canvas {
 public:
    explicit Canvas(Picture& picture) : picture_(picture) {}

    void set(int x, int y, int colour) {
        if (x >= 0 && x < width && y >= 0 && y < height)
            picture_.pixels[static_cast<std::size_t>(y * width + x)] = static_cast<std::uint8_t>(colour);
    }
    void fill(int x, int y, int w, int h, int colour) {
        for (int j = y; j < y + h; j++)
            for (int i = x; i < x + w; i++) set(i, j, colour);
    }
    void ramp(int x, int y, int w, int h, int firstColour, int colours) {
        for (int i = 0; i < w; i++) fill(x + i, y, 1, h, firstColour + i * colours / w);
    }

    // Letters out of an alphabet of random dots, 5 x 9 in cells of 7 x 14; a word's letters stand close.
    void text(int x, int y, int w, int h, Random& random) {
        for (int line = y; line + 14 <= y + h; line += 14) {
            const int end = x + w * random.between(3, 10) / 10;
            for (int at = x; at + 7 <= end; at += 7)
                if (random.below(6)) letter(at, line, random.below(52));
        }
    }
    void chart(int x, int y, int w, int h, Random& random) {
        fill(x, y, w, h, white);
        for (int i = 0; i < w; i += 24) fill(x + i, y, 1, h, grid);
        for (int j = 0; j < h; j += 24) fill(x, y + j, w, 1, grid);
        for (int i = 8, level = h / 2; i + 12 < w; i += 20) {
            level = std::clamp(level + random.between(-30, 30), 4, h - 4);
            fill(x + i, y + h - level, 12, level, 0x49 + i / 20 % 5 * 0x22);
        }
    }
    void checks(int x, int y, int w, int h, int a, int b) {
        for (int j = 0; j < h; j++)
            for (int i = 0; i < w; i++) set(x + i, y + j, (i ^ j) & 1 ? a : b);
    }
    void icon(int x, int y, Random& random) {
        const int base = random.below(256);
        for (int j = 0; j < 32; j++)
            for (int i = 0; i < 32; i++)
                if ((i - 16) * (i - 16) + (j - 16) * (j - 16) < 250)
                    set(x + i, y + j, (base + i / 4 + j / 4 * 8 + (random.below(4) ? 0 : 1)) & 255);
    }

 private:
    void letter(int x, int y, int which) {
        Random dots(static_cast<std::uint32_t>(which * 7919 + 13));
        for (int j = 0; j < 9; j++) {
            const std::uint32_t row = dots.next() >> 9;
            for (int i = 0; i < 5; i++)
                if (row >> i & 1) set(x + i, y + j + 3, black);
        }
    }

    Picture& picture_;
};

void drawWindow(Canvas& canvas, Random& random) {
    const int w = random.between(260, 760), h = random.between(200, 560);
    const int x = random.between(-80, width - 200), y = random.between(0, height - 160);
    canvas.fill(x, y, w, h, black);
    canvas.fill(x + 1, y + 1, w - 2, h - 2, panel);
    canvas.ramp(x + 3, y + 3, w - 6, 22, random.below(24) * 8, 8);
    canvas.text(x + 8, y + 6, w / 2, 16, random);
    const int left = x + 8, top = y + 32, innerWidth = w - 16, innerHeight = h - 40;
    switch (random.below(4)) {
        case 0:
            canvas.chart(left, top, innerWidth, innerHeight, random);
            break;
        case 1:
            canvas.checks(left, top, innerWidth, innerHeight, random.below(256), random.below(256));
            for (int i = 0; i + 48 < innerWidth; i += 48) canvas.icon(left + i + 8, top + 10, random);
            break;
        default:
            canvas.fill(left, top, innerWidth, innerHeight, white);
            canvas.text(left + 6, top + 4, innerWidth - 12, innerHeight - 8, random);
    }
}

Picture makeGraphic() {
    Picture picture = {width, height, 8, Bytes(std::size_t{width} * height), Bytes(256 * 4)};
    for (unsigned i = 0; i < 256; i++) {
        picture.palette[i * 4] = static_cast<std::uint8_t>((i & 3) * 85);
        picture.palette[i * 4 + 1] = static_cast<std::uint8_t>((i >> 2 & 7) * 255 / 7);
        picture.palette[i * 4 + 2] = static_cast<std::uint8_t>((i >> 5) * 255 / 7);
    }
    Canvas canvas(picture);
    Random random(2048);
    canvas.fill(0, 0, width, height, desktop);
    for (int i = 0; i < 30; i++) drawWindow(canvas, random);
    for (int y = 40; y < height - 60; y += 72) canvas.icon(24, y, random);
    return picture;
}

// --- BMP files -------------------------------------------------------------------------------------------

void append(Bytes& file, std::uint32_t value, unsigned bytes) {
    for (unsigned i = 0; i < bytes; i++) file.push_back(static_cast<std::uint8_t>(value >> 8 * i));
}

// Runs of 3 and more as pairs, what lies between as absolute runs.
void appendRunLengths(Bytes& file, const std::uint8_t* row, unsigned n) {
    const auto runAt = [&](unsigned x) {
        unsigned end = x + 1;
        while (end < n && end - x < 255 && row[end] == row[x]) end++;
        return end - x;
    };
    for (unsigned x = 0; x < n;) {
        if (const unsigned run = runAt(x); run >= 3) {
            append(file, run | row[x] << 8, 2);
            x += run;
            continue;
        }
        unsigned end = x;
        while (end < n && runAt(end) < 3 && end - x < 254) end++;
        if (end - x < 3) {
            for (; x < end; x++) append(file, 1u | row[x] << 8, 2);
            continue;
        }
        append(file, (end - x) << 8, 2);
        file.insert(file.end(), row + x, row + end);
        if ((end - x) & 1) file.push_back(0);
        x = end;
    }
    append(file, 0, 2);
}

}  // namespace

const Picture& photograph() {
    static const Picture picture = makePhotograph();
    return picture;
}

const Picture& greyPhotograph() {
    static const Picture picture = [] {
        const Picture& colours = photograph();
        Picture grey = {colours.width, colours.height, 8, {}, {}};
        for (std::size_t i = 0; i < colours.pixels.size(); i += 3) {
            const std::uint8_t* p = &colours.pixels[i];
            grey.pixels.push_back(static_cast<std::uint8_t>((11 * p[0] + 59 * p[1] + 30 * p[2]) / 100));
        }
        for (unsigned level = 0; level < 256; level++)
            for (unsigned c = 0; c < 4; c++)
                grey.palette.push_back(static_cast<std::uint8_t>(c < 3 ? level : 0));
        return grey;
    }();
    return picture;
}

const Picture& graphic() {
    static const Picture picture = makeGraphic();
    return picture;
}

Picture pictureFrom(const Bytes& bmp) {
    const auto field = [&](unsigned at) {
        return bmp.at(at) | bmp.at(at + 1) << 8 | bmp.at(at + 2) << 16 |
               static_cast<unsigned>(bmp.at(at + 3)) << 24;
    };
    require(field(28) == 24, "finding 24 bits without compression");
    Picture picture = {field(18), field(22), 24, {}, {}};
    const unsigned step = (picture.rowBytes() + 3) & ~3u;
    for (unsigned y = picture.height; y-- > 0;) {
        const std::uint8_t* row = &bmp.at(field(10) + y * step);
        picture.pixels.insert(picture.pixels.end(), row, row + picture.rowBytes());
    }
    return picture;
}

Bytes bmpFile(const Picture& picture, bool runLengths) {
    Bytes pixels;
    const unsigned padding = (0u - picture.rowBytes()) & 3;
    for (unsigned y = picture.height; y-- > 0;) {
        const std::uint8_t* row = picture.row(y);
        if (runLengths) {
            appendRunLengths(pixels, row, picture.width);
        } else {
            pixels.insert(pixels.end(), row, row + picture.rowBytes());
            pixels.insert(pixels.end(), padding, 0);
        }
    }
    // The picture's end mark stands for its last row's as well: FreeImage refuses a file with both.
    if (runLengths) pixels[pixels.size() - 1] = 1;

    const auto pixelsAt = static_cast<std::uint32_t>(54 + picture.palette.size());
    const auto pixelBytes = static_cast<std::uint32_t>(pixels.size());
    Bytes file = {'B', 'M'};
    for (const std::uint32_t field :
         {pixelsAt + pixelBytes, 0u, pixelsAt, 40u, picture.width, picture.height})
        append(file, field, 4);
    append(file, 1 | picture.bits << 16, 4);
    for (const std::uint32_t field : {runLengths ? 1u : 0u, pixelBytes, 0u, 0u, 0u, 0u})
        append(file, field, 4);
    file.insert(file.end(), picture.palette.begin(), picture.palette.end());
    file.insert(file.end(), pixels.begin(), pixels.end());
    return file;
}

std::uint32_t fingerprintOfRows(const std::uint8_t* top, std::ptrdiff_t step, unsigned rowBytes,
                                unsigned height) {
    std::uint32_t hash = 0;
    for (unsigned y = 0; y < height; y++)
        hash = fingerprint(top + static_cast<std::ptrdiff_t>(y) * step, rowBytes, hash);
    return hash;
}

}  // namespace bench
