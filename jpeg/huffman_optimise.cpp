#include "jpeg/huffman_optimise.h"

#include <algorithm>

namespace orn32::jpeg {
namespace {

constexpr unsigned reserved = 256;  // a symbol that takes the code of all ones out of use
constexpr unsigned symbols = 257;
constexpr unsigned longest = 256;            // before the adjustment
constexpr std::uint32_t bound = 1000000000;  // more symbols than coefficient buffers can hold
constexpr int none = -1;

// Trees of symbols that grow together: each is a chain through its symbols, headed by one of them.
class Merging {
 public:
    explicit Merging(const SymbolCounts& counts) {
        std::copy(std::begin(counts.count), std::end(counts.count), weight_);
        weight_[reserved] = 1;
        std::fill(std::begin(next_), std::end(next_), none);
        for (int first; (first = lightest(none)) != none;) {
            const int second = lightest(first);
            if (second == none) break;
            weight_[first] += weight_[second];
            weight_[second] = 0;
            next_[deepen(first)] = second;
            deepen(second);
        }
    }

    unsigned length(unsigned symbol) const { return length_[symbol]; }

 private:
    // The tree of the least weight, apart from one; of equal ones, that with the highest symbol.
    int lightest(int except) const {
        std::uint32_t least = bound;
        int found = none;
        for (int i = 0; i < static_cast<int>(symbols); i++) {
            if (i == except || weight_[i] == 0 || weight_[i] > least) continue;
            least = weight_[i];
            found = i;
        }
        return found;
    }

    // Makes every code of a chain one bit longer; returns the chain's last symbol.
    int deepen(int symbol) {
        for (;; symbol = next_[symbol]) {
            length_[symbol]++;
            if (next_[symbol] == none) return symbol;
        }
    }

    std::uint32_t weight_[symbols];
    int next_[symbols];
    unsigned length_[symbols] = {};
};

// Shortens codes longer than 16 bits: two siblings go, one takes their parent's place, and the other goes
// below a shorter code, which becomes two.
void limitLengths(unsigned (&counts)[longest + 1]) {
    for (unsigned length = longest; length > 16; length--) {
        while (counts[length] > 0) {
            unsigned shorter = length - 2;
            while (counts[shorter] == 0) shorter--;
            counts[length] -= 2;
            counts[length - 1]++;
            counts[shorter + 1] += 2;
            counts[shorter]--;
        }
    }
}

}  // namespace

HuffmanDefinition optimalTable(const SymbolCounts& symbolCounts) {
    const Merging tree(symbolCounts);
    unsigned counts[longest + 1] = {};
    for (unsigned i = 0; i < symbols; i++)
        if (tree.length(i)) counts[tree.length(i)]++;
    limitLengths(counts);

    unsigned last = 16;
    while (counts[last] == 0) last--;
    counts[last]--;  // the reserved symbol's

    HuffmanDefinition definition = {};
    for (unsigned length = 1; length <= 16; length++)
        definition.counts[length - 1] = static_cast<std::uint8_t>(counts[length]);
    unsigned n = 0;
    for (unsigned length = 1; length <= longest; length++)
        for (unsigned symbol = 0; symbol < reserved; symbol++)
            if (tree.length(symbol) == length) definition.values[n++] = static_cast<std::uint8_t>(symbol);
    return definition;
}

}  // namespace orn32::jpeg
