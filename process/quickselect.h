// The element of a given rank by quickselect. Elements of equal keys change places in a way of its own, and
// programs rely on which of them comes out: the order of scans and swaps is fixed.
#pragma once

#include <cstdint>
#include <utility>

namespace orn32 {

// A neighbour's brightness and its place in the neighbourhood.
struct RankedNeighbour {
    std::int16_t key;
    std::uint16_t place;
};

// Of count elements, the one of rank (0: the smallest); rearranges them.
inline RankedNeighbour quickselect(RankedNeighbour* elements, int count, int rank) {
    int low = 0, high = count - 1;
    while (high > low) {
        const int pivot = elements[high].key;
        int i = low, j = high - 1;
        for (;; i++, j--) {
            while (elements[i].key < pivot) i++;
            while (j > low && elements[j].key > pivot) j--;
            if (j <= i) break;
            std::swap(elements[i], elements[j]);
        }
        std::swap(elements[i], elements[high]);
        if (i >= rank) high = i - 1;
        if (i <= rank) low = i + 1;
    }
    return elements[rank];
}

}  // namespace orn32
