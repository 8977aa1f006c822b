// FreeImage's BMP files in memory.
#include <FreeImage.h>
#include <malloc.h>

#include <cstring>
#include <memory>

#include "../pictures.h"

namespace bench {
namespace {

using Bitmap = std::shared_ptr<FIBITMAP>;
using Memory = std::shared_ptr<FIMEMORY>;

Memory overFile(const Bytes& file) {
    return {FreeImage_OpenMemory(const_cast<BYTE*>(file.data()), static_cast<DWORD>(file.size())),
            FreeImage_CloseMemory};
}

Bitmap loadOnce(const Bytes& file) {
    const Memory memory = overFile(file);
    const Bitmap bitmap(FreeImage_LoadFromMemory(FIF_BMP, memory.get(), BMP_DEFAULT), FreeImage_Unload);
    require(bitmap != nullptr, "FreeImage_LoadFromMemory");
    return bitmap;
}

Work load(Bytes content) {
    const auto file = std::make_shared<Bytes>(std::move(content));
    const Bitmap bitmap = loadOnce(*file);
    const unsigned height = FreeImage_GetHeight(bitmap.get());
    const auto step = static_cast<std::ptrdiff_t>(FreeImage_GetPitch(bitmap.get()));
    const std::uint32_t outcome =
        fingerprintOfRows(FreeImage_GetScanLine(bitmap.get(), static_cast<int>(height) - 1), -step,
                          FreeImage_GetLine(bitmap.get()), height);
    return {[=] { loadOnce(*file); }, 1.0 * FreeImage_GetWidth(bitmap.get()) * height, outcome};
}

// A photograph of the corpus, rewritten with the plain header that every reader knows.
[[maybe_unused]] Work loadHibiscus() {
    return load(bmpFile(pictureFrom(readFile("../shared/corpus/photo/hibiscus.regular.bmp"))));
}

[[maybe_unused]] Work save(const Picture& picture, int flags) {
    const Bitmap bitmap = loadOnce(bmpFile(picture));
    const auto pass = [=] {
        const Memory memory(FreeImage_OpenMemory(nullptr, 0), FreeImage_CloseMemory);
        require(FreeImage_SaveToMemory(FIF_BMP, bitmap.get(), memory.get(), flags), "FreeImage_SaveToMemory");
    };
    return {pass, picture.pixelCount()};
}

const auto loadPhotograph = [] { return load(bmpFile(photograph())); };
const auto loadGraphic = [] { return load(bmpFile(graphic())); };

const std::string name = std::string("FreeImage ") + FreeImage_GetVersion();

#ifdef ON_KEPT_MEMORY
// With a heap that keeps what is freed, a pass meets the memory of the one before, like ours with an image
// that exists already.
const bool keepsMemory = mallopt(M_MMAP_MAX, 0) && mallopt(M_TRIM_THRESHOLD, 1 << 28);
const Rows rows(name + " on memory that it keeps", Code::scalar,
                {{"bmp/load/24", 0, loadPhotograph}, {"bmp/load/8", 0, loadGraphic}});
#else
// The targets are for pictures beyond the heap's own small blocks; hibiscus shows what a call costs apart
// from memory.
const Rows rows(name, Code::scalar,
                {{"bmp/load/24", 2, loadPhotograph},
                 {"bmp/load/24/new image", 0, loadPhotograph},
                 {"bmp/load/24/hibiscus", 0, loadHibiscus},
                 {"bmp/load/8", 2, loadGraphic},
                 {"bmp/load/8/new image", 0, loadGraphic},
                 {"bmp/load/8/rle", 0, [] { return load(bmpFile(graphic(), true)); }},
                 {"bmp/save/24", 1, [] { return save(photograph(), BMP_DEFAULT); }},
                 {"bmp/save/8", 1, [] { return save(graphic(), BMP_DEFAULT); }},
                 {"bmp/save/8/rle", 1, [] { return save(graphic(), BMP_SAVE_RLE); }}});

#endif

}  // namespace
}  // namespace bench
