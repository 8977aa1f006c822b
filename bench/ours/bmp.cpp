// Loading and saving BMP files in memory.
#include <memory>

#include "image.h"

namespace bench {
namespace {

Work loadFile(Bytes content) {
    const auto file = std::make_shared<Bytes>(std::move(content));
    BITMAPINFOHEADER info;
    require(bmpinfofrombuffer(file->data(), &info) == 0, "bmpinfofrombuffer");
    const auto image = std::make_shared<Image>(static_cast<unsigned>(info.biWidth),
                                               static_cast<unsigned>(info.biHeight), info.biBitCount);
    require(loadbmpfrombuffer(file->data(), *image) == 0, "loadbmpfrombuffer");
    return {[=] { loadbmpfrombuffer(file->data(), *image); }, 1.0 * info.biWidth * info.biHeight,
            image->fingerprint()};
}

// The same with a new image for every load, as a program has it that opens one picture after the other.
Work loadIntoNewImage(Bytes content) {
    Work work = loadFile(content);
    const auto file = std::make_shared<Bytes>(std::move(content));
    work.pass = [=] {
        BITMAPINFOHEADER info;
        bmpinfofrombuffer(file->data(), &info);
        Image image(static_cast<unsigned>(info.biWidth), static_cast<unsigned>(info.biHeight),
                    info.biBitCount);
        loadbmpfrombuffer(file->data(), image);
    };
    return work;
}

// A photograph of the corpus, rewritten with the plain header that every reader knows.
Work loadHibiscus() {
    return loadFile(bmpFile(pictureFrom(readFile("../shared/corpus/photo/hibiscus.regular.bmp"))));
}

Work save(const Picture& picture, bool runLengths) {
    const auto image = std::make_shared<Image>(picture);
    const auto pass = [=] {
        void* buffer;
        require(savebmptobuffer(&buffer, *image, runLengths) == 0, "savebmptobuffer");
        freeBuffer(buffer);
    };
    return {pass, picture.pixelCount()};
}

const Rows rows(orn32, Code::simd,
                {{"bmp/load/24", 0, [] { return loadFile(bmpFile(photograph())); }},
                 {"bmp/load/24/new image", 0, [] { return loadIntoNewImage(bmpFile(photograph())); }},
                 {"bmp/load/24/hibiscus", 0, loadHibiscus},
                 {"bmp/load/8", 0, [] { return loadFile(bmpFile(graphic())); }},
                 {"bmp/load/8/new image", 0, [] { return loadIntoNewImage(bmpFile(graphic())); }},
                 {"bmp/load/8/rle", 1000, [] { return loadFile(bmpFile(graphic(), true)); }},
                 {"bmp/save/24", 0, [] { return save(photograph(), false); }},
                 {"bmp/save/8", 0, [] { return save(graphic(), false); }},
                 {"bmp/save/8/rle", 0, [] { return save(graphic(), true); }}});

}  // namespace
}  // namespace bench
