// What a benchmark program is made of: rows that register themselves, served to bench/run by bench.cpp.
//
// The same sources are built twice: as a 32-bit Windows program with our rows (ours/), and as 32-bit native
// programs with the peers' rows (peers/). Rows that have the same name do the same work, and are measured in
// turn.
#pragma once

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace bench {

using Bytes = std::vector<std::uint8_t>;

// A row made ready: its inputs, its buffers and the pass to be measured.
struct Work {
    std::function<void()> pass;
    double pixels = 0;          // that one pass goes through
    std::uint32_t outcome = 0;  // fingerprint of the result, where both sides must get the same; 0 where not
};

struct Row {
    const char* name;  // family/operation/variant, such as "bmp/load/24"
    double target;     // see Rows; 0 where there is none
    std::function<Work()> makeReady;
};

enum class Code { scalar, simd };

// Define one at namespace scope. who names the program and version measured, and is "orn32" for the library
// itself. A peer's target is the speed that orn32 should have as a multiple of the peer's; orn32's own target
// is in million pixels per second.
struct Rows {
    Rows(std::string who, Code code, std::vector<Row> rows);
};
constexpr const char* orn32 = "orn32";

// Ends the row with the reason, told in the table.
struct NotPossible : std::runtime_error {
    using runtime_error::runtime_error;
};
inline void require(bool ok, const char* what) {
    if (!ok) throw NotPossible(std::string(what) + " failed");
}

// A number that tells results apart. Feed it in pieces by passing on the last piece's.
std::uint32_t fingerprint(const void* data, std::size_t size, std::uint32_t before = 0);

// Fingerprint of the rows from the top, without their padding: the outcome of a load. step leads from one row
// to the one below.
std::uint32_t fingerprintOfRows(const std::uint8_t* top, std::ptrdiff_t step, unsigned rowBytes,
                                unsigned height);

// The whole file, named relative to the checkout. NotPossible where it is absent.
Bytes readFile(const std::string& name);

// Inputs that only the peers can make. Their rows are made ready first; ours find there what they have kept.
void keepInput(const std::string& name, const Bytes& content);
Bytes keptInput(const std::string& name);

}  // namespace bench
