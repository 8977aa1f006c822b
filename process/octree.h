// Nearest palette colour by octree: exact within a neighbourhood of cells, not over the whole palette.
#pragma once

#include <cstdint>

#include "core/memory.h"
#include "process/palette_row.h"

namespace orn32 {

class PaletteOctree {
 public:
    // count: 1 to 256 entries. Test the tree before use: memory may have run out.
    PaletteOctree(const PaletteTable& palette, unsigned count);
    explicit operator bool() const { return pool_ && leaves_; }

    // The index of the entry found for a pixel.
    std::uint8_t nearest(const std::uint8_t* bgr) const;

 private:
    struct Node {
        bool isLeaf;
        std::uint8_t index;   // leaf: the last entry that fell into its cell
        std::uint8_t bgr[3];  // leaf: the colour of the first one
        Node* children[8];
    };

    void insert(std::uint32_t colour, std::uint8_t index);
    const Node* startOfSearch(const std::uint8_t* bgr) const;
    unsigned collectLeaves(const Node* from) const;

    WorkArray<const Node*> leaves_;  // scratch of the search
    WorkArray<Node> pool_;           // the root first
    unsigned used_ = 1;
};

}  // namespace orn32
