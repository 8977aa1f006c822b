#include "process/octree.h"

#include "process/colour_key.h"

namespace orn32 {
namespace {

// A leaf is one cell of the upper four bits of each channel.
constexpr unsigned leafDepth = 4;

// Root, 8 and 64 nodes, and per entry one at each of the two lowest depths: 585 at most.
constexpr unsigned poolSize = 587;

constexpr unsigned mostLeaves = 256;

// A depth-first walk leaves 7 siblings waiting at each inner depth and puts 8 leaves on top: 29 from a root
// with eight children. But a search begins at the root only where a child is missing there.
constexpr unsigned stackSize = 28;

// Farther than any two colours are apart.
constexpr int farAway = 3 * 256 * 256;

unsigned childNumber(const std::uint8_t* bgr, unsigned mask) {
    return (bgr[red] & mask ? 4u : 0) + (bgr[green] & mask ? 2u : 0) + (bgr[blue] & mask ? 1u : 0);
}

int distance(const std::uint8_t* a, const std::uint8_t* b) {
    int sum = 0;
    for (unsigned i = 0; i < 3; i++) sum += (a[i] - b[i]) * (a[i] - b[i]);
    return sum;
}

}  // namespace

PaletteOctree::PaletteOctree(const PaletteTable& palette, unsigned count)
    : leaves_(MemoryEntry::counted, mostLeaves), pool_(MemoryEntry::counted, poolSize) {
    if (!*this) return;
    for (unsigned i = 0; i < count; i++) insert(palette.colour[i], static_cast<std::uint8_t>(i));
}

// Where several entries share a cell the leaf answers with the index of the last one but is judged by the
// colour of the first. That looks like an oversight, but pictures depend on it.
void PaletteOctree::insert(std::uint32_t colour, std::uint8_t index) {
    const std::uint8_t bgr[3] = {static_cast<std::uint8_t>(colour), static_cast<std::uint8_t>(colour >> 8),
                                 static_cast<std::uint8_t>(colour >> 16)};
    Node* node = pool_.get();
    for (unsigned depth = 1, mask = 0x80; depth <= leafDepth; depth++, mask >>= 1) {
        Node*& child = node->children[childNumber(bgr, mask)];
        if (!child) {
            child = pool_.get() + used_++;
            child->isLeaf = depth == leafDepth;
            for (unsigned i = 0; i < 3; i++) child->bgr[i] = bgr[i];
        }
        node = child;
    }
    node->index = index;
}

// The deepest node on the pixel's way, or the one above it if that is a leaf.
const PaletteOctree::Node* PaletteOctree::startOfSearch(const std::uint8_t* bgr) const {
    const Node* node = pool_.get();
    for (unsigned mask = 0x80;; mask >>= 1) {
        const Node* child = node->children[childNumber(bgr, mask)];
        if (!child || child->isLeaf) return node;
        node = child;
    }
}

// Fills leaves_ with all leaves below a node; of siblings the one with the highest number comes first.
unsigned PaletteOctree::collectLeaves(const Node* from) const {
    const Node* stack[stackSize];
    unsigned height = 0, count = 0;
    stack[height++] = from;
    while (height > 0) {
        const Node* node = stack[--height];
        if (node->isLeaf)
            leaves_[count++] = node;
        else
            for (const Node* child : node->children)
                if (child) stack[height++] = child;
    }
    return count;
}

std::uint8_t PaletteOctree::nearest(const std::uint8_t* bgr) const {
    const unsigned count = collectLeaves(startOfSearch(bgr));
    const Node* best = leaves_[0];
    int bestDistance = farAway;
    for (unsigned i = 0; i < count; i++) {
        const int d = distance(leaves_[i]->bgr, bgr);
        if (d < bestDistance) {
            bestDistance = d;
            best = leaves_[i];
        }
    }
    return best->index;
}

}  // namespace orn32
