#include "tests/faults/call_set.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/faults/import_table.h"
#include "tests/support/random.h"

namespace faults {

unsigned hash(const void* data, std::size_t size, unsigned seed) {
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    for (std::size_t i = 0; i < size; i++) seed = (seed ^ bytes[i]) * 16777619u;
    return seed;
}

unsigned hashOfFile(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(file)), {});
    return hash(bytes.data(), bytes.size());
}

Picture::Picture(unsigned width, unsigned height, unsigned bits, unsigned seed, bool section) {
    section ? allocimage(&image, width, height, bits) : allocDIB(&image, width, height, bits);
    test::Random random(seed);
    for (unsigned i = 0; i < image.header->biSizeImage; i++) image.bits[i] = random.byte();
    for (int i = 0; i < image.palcolors && bits == 8; i++)
        image.palette[i] = {random.byte(), random.byte(), random.byte(), 0};
    image.imgkind = 0;
}

unsigned Picture::hash() const {
    const unsigned pixels = faults::hash(image.bits, image.header->biSizeImage);
    return faults::hash(image.palette, static_cast<unsigned>(image.palcolors) * 4, pixels);
}

Shared picture(unsigned width, unsigned height, unsigned bits, unsigned seed, bool section) {
    return std::make_shared<Picture>(width, height, bits, seed, section);
}

unsigned CallSet::hashAndRelease(void* buffer) {
    const unsigned output = hash(buffer, sizeOf(buffer));
    releaseBlock(buffer);
    return output;
}

std::vector<Call> makeCalls(const std::string& folder) {
    std::filesystem::create_directories(folder);
    CallSet calls(folder);
    addFileCalls(calls);
    addOperationCalls(calls);
    return calls.list;
}

}  // namespace faults
