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
    void preparePairs(const Component& component) {
        const unsigned at = tableSlots + component.ta;
        if (!(paired_ >> at & 1)) buildPairs(tables_[at]);
        paired_ |= 1u << at;
    }

    const DecodeTable& dc(const Component& component) const { return tables_[component.td]; }
    const DecodeTable& ac(const Component& component) const { return tables_[tableSlots + component.ta]; }

 private:
    // Components share tables, and scans keep them.
    bool prepare(const HuffmanSlot (&slots)[tableSlots], unsigned slot, unsigned first) {
        if (slot >= tableSlots || !slots[slot].present) return false;
        const unsigned at = first + slot;
        if (built_ >> at & 1 && tables_[at].definition == slots[slot].definition) return true;
        buildDecodeTable(slots[slot].definition, tables_[at]);
        built_ |= 1u << at;
        paired_ &= ~(1u << at);
        return true;
    }

    unsigned built_ = 0, paired_ = 0;  // a bit for each table
    WorkArray<DecodeTable> tables_;
};

}  // namespace orn32::jpeg
