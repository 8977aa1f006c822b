// The two passes over a scan: one counts its symbols, the other writes them. Both look the same to the coding
// procedures, which run once for each.
#pragma once

#include <cstdint>

#include "core/memory.h"
#include "jpeg/bit_writer.h"
#include "jpeg/block_coder.h"
#include "jpeg/coefficient_planes.h"

namespace orn32::jpeg {

// Bits that correct coefficients known from earlier scans, in their order.
struct CorrectionBits {
    const StoredBlock& block;
    PositionMask which;
    unsigned leftOut;  // bits below the one that is written

    // Calls visit(bits, n) for pieces of n bits, 1 to 24.
    template <class Visit>
    void forEachPiece(Visit visit) const {
        std::uint32_t bits = 0;
        unsigned n = 0;
        forEachBit(which, [&](unsigned k) {
            const int value = block.at(k);
            bits = bits << 1 | (static_cast<unsigned>(value < 0 ? -value : value) >> leftOut & 1);
            if (++n < 24) return;
            visit(bits, n);
            bits = n = 0;
        });
        if (n > 0) visit(bits, n);
    }
};

struct TableCounts {
    SymbolCounts dc[2], ac[2];
};
struct TableCodes {
    HuffmanCodes dc[2], ac[2];
};

class CountingPass {
 public:
    explicit CountingPass(TableCounts& counts) : counts_(counts) {}

    void beginBlock() {}
    SymbolCounter dc(unsigned slot) { return {counts_.dc[slot]}; }
    SymbolCounter ac(unsigned slot) { return {counts_.ac[slot]}; }
    void put(std::uint32_t, unsigned) {}
    void put(const CorrectionBits&) {}
    void hold(const CorrectionBits&) {}
    void putHeld() {}

 private:
    TableCounts& counts_;
};

// Correction bits of blocks in an end-of-band run, which come behind the run's length: 63 of each of at most
// 32767 blocks.
class HeldBits {
 public:
    HeldBits() : words_(MemoryEntry::first, 32767 * 3) {}

    explicit operator bool() const { return static_cast<bool>(words_); }

    void append(const CorrectionBits& bits) {
        bits.forEachPiece([&](std::uint32_t piece, unsigned n) { words_[used_++] = piece << 8 | n; });
    }
    template <class Visit>
    void drain(Visit visit) {
        for (unsigned i = 0; i < used_; i++) visit(words_[i] >> 8, words_[i] & 0xFF);
        used_ = 0;
    }

 private:
    WorkArray<std::uint32_t> words_;
    unsigned used_ = 0;
};

class WritingPass {
 public:
    WritingPass(BitWriter& writer, const TableCodes& codes, HeldBits& held)
        : writer_(writer), bits_(writer.cursor()), codes_(codes), held_(held) {}
    ~WritingPass() { writer_.setCursor(bits_); }
    WritingPass(const WritingPass&) = delete;
    WritingPass& operator=(const WritingPass&) = delete;

    // Room for a block's symbols and correction bits.
    void beginBlock() {
        if (writer_.hasRoom(bits_)) return;
        writer_.setCursor(bits_);
        writer_.reserve();
        bits_ = writer_.cursor();
    }
    SymbolWriter dc(unsigned slot) { return {bits_, codes_.dc[slot]}; }
    SymbolWriter ac(unsigned slot) { return {bits_, codes_.ac[slot]}; }
    void put(std::uint32_t bits, unsigned count) { bits_.put(bits, count); }
    void put(const CorrectionBits& bits) {
        bits.forEachPiece([&](std::uint32_t piece, unsigned n) { bits_.put(piece, n); });
    }
    void hold(const CorrectionBits& bits) { held_.append(bits); }
    void putHeld() {
        held_.drain([&](std::uint32_t piece, unsigned n) {
            beginBlock();
            bits_.put(piece, n);
        });
        beginBlock();
    }

 private:
    BitWriter& writer_;
    BitCursor bits_;
    const TableCodes& codes_;
    HeldBits& held_;
};

}  // namespace orn32::jpeg
