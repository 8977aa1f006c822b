// The Shell sort behind palettes: which of two equal keys comes first decides where a palette is cut and
// which of two colours is found, so the gaps are part of what callers see.
#pragma once

#include <cstddef>

namespace orn32 {

// Sorts items[0..count) by key(item), largest first. Gaps are 1, 4, 13, 40, ... downwards, beginning with the
// first one above a ninth of the count.
template <class T, class Key>
void shellSortDescending(T* items, std::size_t count, Key key) {
    std::size_t gap = 1;
    while (gap <= count / 9) gap = 3 * gap + 1;
    for (; gap > 0; gap /= 3)
        for (std::size_t i = gap; i < count; i++) {
            const T item = items[i];
            const auto itemKey = key(item);
            std::size_t j = i;
            for (; j >= gap && key(items[j - gap]) < itemKey; j -= gap) items[j] = items[j - gap];
            items[j] = item;
        }
}

}  // namespace orn32
