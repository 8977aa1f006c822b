// JPEG: saving the area of an image.
#include "core/boundary.h"
#include "core/range_check.h"
#include "jpeg/encoder.h"
#include "jpeg/error.h"
#include "jpeg/header_writer.h"
#include "jpeg/huffman_codes.h"
#include "jpeg/scan_script.h"
#include "jpeg/settings.h"
#include "jpeg/thumbnail_writer.h"
#include "orn32.h"

namespace orn32::jpeg {
namespace {

constexpr unsigned thumbnailOption = 0x10;

// What the options ask for besides a thumbnail; unknown numbers are a plain file.
Coding codingOf(unsigned options) {
    switch (options & ~thumbnailOption) {
        case 1:
            return Coding::progressive;
        case 2:
            return Coding::optimised;
        default:
            return Coding::standard;
    }
}

void writeHeaders(OutputStream& out, const EncodeFrame& frame, imgdes& image, bool thumbnail) {
    writeStart(out, writeSettings.resolution);
    if (thumbnail) writeThumbnail(out, image, frame, writeSettings.thumbnailSize);
    writeFrame(out, frame);
    if (frame.coding == Coding::standard) {
        for (unsigned slot = 0; slot < (frame.grey() ? 1u : 2u); slot++) {
            writeHuffmanTable(out, TableClass::dc, slot, standardDc[slot]);
            writeHuffmanTable(out, TableClass::ac, slot, standardAc[slot]);
        }
        writeScan(out, frame, sequentialScan(frame));
    }
    writeSettings.resolution = {};
}

int writePicture(OutputStream& out, imgdes& image, int quality, unsigned options) {
    const EncodeFrame frame = encodeFrame(image, quality, codingOf(options));
    writeHeaders(out, frame, image, options & thumbnailOption);
    const int code = frame.coding == Coding::standard ? encodeSequential(out, frame, image)
                                                      : encodeFromCoefficients(out, frame, image);
    if (code) return code;
    writeEnd(out);
    return 0;
}

// Sides are 16-bit numbers in the frame header.
bool tooLarge(Size size) {
    return size.width >= 65536 || size.height >= 65536;
}

int save(const Target& target, imgdes* image, int quality, unsigned options) {
    if (const int code = checkRange(image, bits8and24)) return code;
    if (tooLarge(areaSize(*image))) return ERR_TOO_LARGE;
    return guarded(Module::jpeg, [&]() -> int {
        OutputStream out(target);
        if (!out.isOpen()) return ERR_CREATE;
        const int writeFailure = target.result ? ERR_MEMORY : ERR_WRITE;
        const int code = unwindTo(writeFailure, [&] { return writePicture(out, *image, quality, options); });
        return code ? code : out.commit();
    });
}

}  // namespace
}  // namespace orn32::jpeg

using namespace orn32;

extern "C" int ORNAPI savejpg(const char* name, imgdes* image, int quality) {
    return jpeg::save(toFile(name), image, quality, 0);
}

extern "C" int ORNAPI savejpgW(const WCHAR* name, imgdes* image, int quality) {
    return jpeg::save(toFile(name), image, quality, 0);
}

extern "C" int ORNAPI savejpgtobuffer(void** buffer, imgdes* image, int quality) {
    return jpeg::save(toBuffer(buffer), image, quality, 0);
}

extern "C" int ORNAPI savejpgex(const char* name, imgdes* image, int quality, UINT options) {
    return jpeg::save(toFile(name), image, quality, options);
}

extern "C" int ORNAPI savejpgexW(const WCHAR* name, imgdes* image, int quality, UINT options) {
    return jpeg::save(toFile(name), image, quality, options);
}

extern "C" int ORNAPI savejpgtobufferex(void** buffer, imgdes* image, int quality, UINT options) {
    return jpeg::save(toBuffer(buffer), image, quality, options);
}
