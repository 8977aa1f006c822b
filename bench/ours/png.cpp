// Loading and saving PNG files in memory, beside the bare zlib that the DLL links: what loading and saving
// cannot be faster than.
#include <zlib.h>

#include <cstring>
#include <memory>

#include "image.h"

namespace bench {
namespace {

// ---- The library ----------------------------------------------------------------------------------------

Work load(const char* name) {
    const auto file = std::make_shared<Bytes>(keptInput(name));
    PngInfo info;
    require(pnginfofrombuffer(file->data(), &info) == 0, "pnginfofrombuffer");
    const auto image = std::make_shared<Image>(info.width, info.height, info.dibbits);
    require(loadpngfrombuffer(file->data(), *image) == 0, "loadpngfrombuffer");
    return {[=] { loadpngfrombuffer(file->data(), *image); }, 1.0 * info.width * info.height,
            image->fingerprint()};
}

std::shared_ptr<Image> greyPhotograph() {
    const auto grey = std::make_shared<Image>(photograph().width, photograph().height, 8);
    for (unsigned y = 0; y < photograph().height; y++) {
        const std::uint8_t* p = photograph().row(y);
        std::uint8_t* to = (*grey)->bits + (*grey)->rowbytes * (photograph().height - 1 - y);
        for (unsigned x = 0; x < photograph().width; x++, p += 3)
            to[x] = static_cast<std::uint8_t>((11 * p[0] + 59 * p[1] + 30 * p[2]) / 100);
    }
    return grey;
}

std::shared_ptr<Image> photographImage() {
    return std::make_shared<Image>(photograph());
}

// With the mark of grey taken off, the file keeps its palette.
std::shared_ptr<Image> graphicImage() {
    const auto image = std::make_shared<Image>(graphic());
    (*image)->imgkind = 0;
    return image;
}

Bytes saved(const std::shared_ptr<Image>& image, int options) {
    void* buffer;
    require(savepngtobuffer(&buffer, *image, options) == 0, "savepngtobuffer");
    const auto* start = static_cast<const std::uint8_t*>(buffer);
    const Bytes file(start, start + GlobalSize(GlobalHandle(buffer)));
    freeBuffer(buffer);
    return file;
}

Work save(const std::shared_ptr<Image>& image, int options = 0) {
    const auto pass = [=] {
        void* buffer;
        require(savepngtobuffer(&buffer, *image, options) == 0, "savepngtobuffer");
        freeBuffer(buffer);
    };
    return {pass, photograph().pixelCount()};
}

const Rows rows(orn32, Code::simd,
                {{"png/load/24", 0, [] { return load("photograph.png"); }},
                 {"png/load/24/interlaced", 0, [] { return load("photograph-interlaced.png"); }},
                 {"png/load/8/palette", 0, [] { return load("graphic.png"); }},
                 {"png/load/8/grey", 0, [] { return load("grey.png"); }},
                 {"png/save/24", 0, [] { return save(photographImage()); }},
                 {"png/save/24/interlaced", 0, [] { return save(photographImage(), 1); }},
                 {"png/save/8/palette", 0, [] { return save(graphicImage()); }},
                 {"png/save/8/grey", 0, [] { return save(greyPhotograph()); }}});

// ---- Bare zlib --------------------------------------------------------------------------------------------

std::uint32_t lengthAt(const Bytes& file, std::size_t at) {
    return std::uint32_t{file[at]} << 24 | std::uint32_t{file[at + 1]} << 16 |
           std::uint32_t{file[at + 2]} << 8 | file[at + 3];
}

// All of a file's compressed data.
Bytes dataOf(const Bytes& file) {
    Bytes data;
    for (std::size_t at = 8; at + 12 <= file.size(); at += 12 + lengthAt(file, at))
        if (std::memcmp(&file[at + 4], "IDAT", 4) == 0)
            data.insert(data.end(), file.begin() + static_cast<std::ptrdiff_t>(at) + 8,
                        file.begin() + static_cast<std::ptrdiff_t>(at) + 8 +
                            static_cast<std::ptrdiff_t>(lengthAt(file, at)));
    return data;
}

// No pass of Adam7 needs more filter bytes than twice the rows.
std::size_t mostRowBytes(unsigned bytesPerPixel) {
    return (std::size_t{photograph().width} * bytesPerPixel + 2) * photograph().height;
}

Bytes inflated(const Bytes& data, unsigned bytesPerPixel) {
    Bytes rows(mostRowBytes(bytesPerPixel));
    uLongf size = static_cast<uLongf>(rows.size());
    require(uncompress(rows.data(), &size, data.data(), static_cast<uLong>(data.size())) == Z_OK,
            "uncompress");
    rows.resize(size);
    return rows;
}

// The whole stream in one call, into memory that is there already. The file that it comes from is what all
// sides read; this row is the first of them.
Work inflateAll(const char* name, const std::shared_ptr<Image>& image, int options = 0) {
    const unsigned bytesPerPixel = (*image)->header->biBitCount / 8;
    const Bytes file = saved(image, options);
    keepInput(name, file);
    const auto data = std::make_shared<Bytes>(dataOf(file));
    const auto rows = std::make_shared<Bytes>(inflated(*data, bytesPerPixel));
    const auto pass = [=] {
        uLongf size = static_cast<uLongf>(rows->size());
        uncompress(rows->data(), &size, data->data(), static_cast<uLong>(data->size()));
    };
    return {pass, photograph().pixelCount()};
}

// The filtered rows that the library makes, compressed with its settings in one call.
Work deflateAll(const std::shared_ptr<Image>& image, int options, int strategy) {
    const unsigned bytesPerPixel = (*image)->header->biBitCount / 8;
    const auto rows = std::make_shared<Bytes>(inflated(dataOf(saved(image, options)), bytesPerPixel));
    const auto data = std::make_shared<Bytes>(rows->size() + rows->size() / 100 + 1000);
    const auto pass = [=] {
        z_stream stream = {};
        deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 15, 8, strategy);
        stream.next_in = rows->data();
        stream.avail_in = static_cast<uInt>(rows->size());
        stream.next_out = data->data();
        stream.avail_out = static_cast<uInt>(data->size());
        require(deflate(&stream, Z_FINISH) == Z_STREAM_END, "deflate");
        deflateEnd(&stream);
    };
    return {pass, photograph().pixelCount()};
}

const Rows limits("zlib " ZLIB_VERSION " alone, under Wine", Code::scalar,
                  {{"png/load/24", 0.8, [] { return inflateAll("photograph.png", photographImage()); }},
                   {"png/load/24/interlaced", 0,
                    [] { return inflateAll("photograph-interlaced.png", photographImage(), 1); }},
                   {"png/load/8/palette", 0, [] { return inflateAll("graphic.png", graphicImage()); }},
                   {"png/load/8/grey", 0, [] { return inflateAll("grey.png", greyPhotograph()); }},
                   {"png/save/24", 1 / 1.08, [] { return deflateAll(photographImage(), 0, Z_FILTERED); }},
                   {"png/save/24/interlaced", 0, [] { return deflateAll(photographImage(), 1, Z_FILTERED); }},
                   {"png/save/8/palette", 0,
                    [] { return deflateAll(graphicImage(), 0, Z_DEFAULT_STRATEGY); }},
                   {"png/save/8/grey", 0, [] { return deflateAll(greyPhotograph(), 0, Z_FILTERED); }}});

}  // namespace
}  // namespace bench
