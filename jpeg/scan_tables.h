// The Huffman tables that a scan decodes with.
#pragma once

#include "core/memory.h"
#include "jpeg/headers.h"
#include "jpeg/huffman_decode.h"

namespace orn32::jpeg {

class ScanTables {
 public:
    // Room for all tables; the memory may not be had.
    ScanTables() : tables_(MemoryEntry::first, 2 * tableSlots) {}
    explicit operator bool() const { return static_cast<bool>(tables_); }

    // Make the tables that a component uses ready. False when a selector names no table.
    [[nodiscard]] bool prepareDc(const Headers& headers, const Component& component) {
        return prepare(headers.dc, component.td, 0);
    }
    [[nodiscard]] bool prepareAc(const Headers& headers, const Component& component) {
        return prepare(headers.ac, component.ta, tableSlots);
    }

    // Once its AC table is ready, makes a component ready for blocks that come whole.
    void preparePairs(const Component& component) { buildPairs(tables_[tableSlots + component.ta]); }

    const DecodeTable& dc(const Component& component) const { return tables_[component.td]; }
    const DecodeTable& ac(const Component& component) const { return tables_[tableSlots + component.ta]; }

 private:
    bool prepare(const HuffmanSlot (&slots)[tableSlots], unsigned slot, unsigned first) {
        if (slot >= tableSlots || !slots[slot].present) return false;
        buildDecodeTable(slots[slot].definition, tables_[first + slot]);
        return true;
    }

    WorkArray<DecodeTable> tables_;
};

}  // namespace orn32::jpeg
