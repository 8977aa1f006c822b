#include "jpeg/encode_frame.h"

#include "core/palette.h"

namespace orn32::jpeg {

EncodeFrame encodeFrame(const imgdes& image, int quality, Coding coding) {
    const bool grey = image.header->biBitCount == 8 && (image.imgkind & greyMark);
    EncodeFrame frame = {
        .size = areaSize(image),
        .coding = coding,
        .componentCount = grey ? 1 : 3,
        .components = {},
        .quantisation = {quantisationTable(quality, false), quantisationTable(quality, true)}};
    for (int i = 0; i < frame.componentCount; i++) {
        const auto table = static_cast<std::uint8_t>(i > 0);
        const auto factor = static_cast<std::uint8_t>(!grey && i == 0 ? 2 : 1);
        frame.components[i] = {static_cast<std::uint8_t>(i + 1), factor, factor, table, table, table};
    }
    return frame;
}

}  // namespace orn32::jpeg
