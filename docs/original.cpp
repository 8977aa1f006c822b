// Draws the picture that docs/operations.md works on: original FILE.PNG
// The benchmark's landscape at an eighth of its size, with something on it for every operation: colours at
// full strength, letters, thin lines, and dust.
#include <algorithm>
#include <array>

#include "bench/pictures.h"
#include "orn32.h"

namespace {

constexpr int scale = 8, width = 2048 / scale, height = 1536 / scale;

struct Colour {
    int red, green, blue;
};
constexpr Colour cream = {250, 244, 226}, ink = {30, 26, 34}, dust = {252, 252, 252};

class Drawing {
 public:
    explicit Drawing(imgdes& image) : image_(image) {}

    void set(int x, int y, Colour c) {
        unsigned char* p = image_.bits + (height - 1 - y) * static_cast<int>(image_.rowbytes) + x * 3;
        p[0] = static_cast<unsigned char>(c.blue);
        p[1] = static_cast<unsigned char>(c.green);
        p[2] = static_cast<unsigned char>(c.red);
    }
    void fill(int x, int y, int w, int h, Colour c) {
        for (int j = y; j < y + h; j++)
            for (int i = x; i < x + w; i++) set(i, j, c);
    }

 private:
    imgdes& image_;
};

// The mean of a block of the photograph; its lowest bit is cleared, which nobody sees and PNG files like.
Colour meanAt(const bench::Picture& photograph, int x, int y) {
    std::array<int, 3> sum = {};
    for (int j = 0; j < scale; j++) {
        const std::uint8_t* p = photograph.row(static_cast<unsigned>(y * scale + j)) + x * scale * 3;
        for (int i = 0; i < scale * 3; i++) sum[static_cast<std::size_t>(i % 3)] += p[i];
    }
    const auto mean = [&](std::size_t c) { return sum[c] / (scale * scale) & ~1; };
    return {mean(2), mean(1), mean(0)};
}

// 5 x 7 dots, a row per number, the leftmost dot in the highest bit.
constexpr std::array<std::array<int, 7>, 5> letters = {{
    {0, 0, 14, 17, 17, 17, 14},  // o
    {0, 0, 22, 25, 16, 16, 16},  // r
    {0, 0, 30, 17, 17, 17, 17},  // n
    {14, 17, 1, 6, 1, 17, 14},   // 3
    {14, 17, 1, 6, 8, 16, 31},   // 2
}};

void write(Drawing& drawing, int x, int y, int size) {
    for (const auto& letter : letters) {
        for (int j = 0; j < 7; j++)
            for (int i = 0; i < 5; i++)
                if (letter[static_cast<std::size_t>(j)] >> (4 - i) & 1)
                    drawing.fill(x + i * size, y + j * size, size, size, ink);
        x += 6 * size;
    }
}

void putUpSign(Drawing& drawing, int x, int y) {
    drawing.fill(x, y, 100, 42, ink);
    drawing.fill(x + 1, y + 1, 98, 40, cream);
    write(drawing, x + 6, y + 4, 2);
    write(drawing, x + 68, y + 10, 1);
    constexpr Colour full[] = {{230, 20, 20}, {250, 210, 0}, {20, 160, 40}, {20, 60, 220}};
    for (int i = 0; i < 4; i++) drawing.fill(x + 6 + i * 15, y + 24, 12, 12, full[i]);
    for (int i = 0; i < 28; i += 4) drawing.fill(x + 68 + i, y + 24, 1 + i / 12, 12, ink);
}

// Specks of one pixel, light and dark in turn.
void scatterDust(Drawing& drawing, int x, int y, int w, int h) {
    unsigned state = 32;
    const auto below = [&](int n) {
        state = state * 1664525 + 1013904223;
        return static_cast<int>((state >> 8) % static_cast<unsigned>(n));
    };
    for (int i = 0; i < 90; i++) {
        const int left = x + below(w);
        drawing.set(left, y + below(h), i & 1 ? ink : dust);
    }
}

}  // namespace

int main(int argc, char** argv) {
    imgdes image;
    if (argc != 2 || allocimage(&image, width, height, 24) != 0) return 2;
    Drawing drawing(image);
    const bench::Picture& photograph = bench::photograph();
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++) drawing.set(x, y, meanAt(photograph, x, y));
    putUpSign(drawing, 12, 12);
    scatterDust(drawing, 0, 132, 110, 60);
    const int code = savepng(argv[1], &image, 0);
    freeimage(&image);
    return code ? 1 : 0;
}
