// Serves a program's rows over its standard input and output, one line each way:
//   list               one line for every row: number, name, who, code, target, tab-separated; then "end"
//   open NUMBER        makes a row ready; "ready PIXELS OUTCOME", or "failed REASON"
//   run NUMBER MS      measures it for so many milliseconds; "best NANOSECONDS" of the fastest pass
//   close NUMBER       releases what the row holds; no answer
#include "bench.h"

#include <algorithm>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <map>
#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#endif

namespace bench {
namespace {

struct Entry {
    std::string who;
    Code code;
    Row row;
};

// A function's own variable, as rows register themselves before main and in any order.
std::vector<Entry>& entries() {
    static std::vector<Entry> all;
    return all;
}

std::map<unsigned, Work> open;

void list() {
    for (unsigned i = 0; i < entries().size(); i++) {
        const Entry& e = entries()[i];
        std::printf("%u\t%s\t%s\t%s\t%g\n", i, e.row.name, e.who.c_str(),
                    e.code == Code::simd ? "SIMD" : "scalar", e.row.target);
    }
    std::printf("end\n");
}

void makeReady(unsigned number) {
    Work work = entries().at(number).row.makeReady();
    work.pass();  // the first pass meets cold caches and fresh memory
    std::printf("ready %.0f %" PRIu32 "\n", work.pixels, work.outcome);
    open[number] = std::move(work);
}

void measure(unsigned number, unsigned milliseconds) {
    using Clock = std::chrono::steady_clock;
    const Work& work = open.at(number);
    Clock::duration best = Clock::duration::max();
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(milliseconds);
    for (Clock::time_point start = Clock::now(); start < end; start = Clock::now()) {
        work.pass();
        best = std::min(best, Clock::now() - start);
    }
    const auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(best).count();
    std::printf("best %lld\n", static_cast<long long>(nanoseconds));
}

void answer(const char* line) {
    unsigned number = 0, milliseconds = 0;
    if (std::strncmp(line, "list", 4) == 0) return list();
    if (std::sscanf(line, "open %u", &number) == 1) return makeReady(number);
    if (std::sscanf(line, "run %u %u", &number, &milliseconds) == 2) return measure(number, milliseconds);
    if (std::sscanf(line, "close %u", &number) == 1) open.erase(number);
}

std::string inputFile(const std::string& name) {
    return "build/bench/inputs/" + name;
}

}  // namespace

Rows::Rows(std::string who, Code code, std::vector<Row> rows) {
    for (Row& row : rows) entries().push_back({who, code, std::move(row)});
}

// FNV-1a.
std::uint32_t fingerprint(const void* data, std::size_t size, std::uint32_t before) {
    std::uint32_t hash = before ? before : 0x811C9DC5;
    const auto* p = static_cast<const std::uint8_t*>(data);
    for (std::size_t i = 0; i < size; i++) hash = (hash ^ p[i]) * 0x01000193;
    return hash;
}

std::uint32_t fingerprintOfRows(const std::uint8_t* top, std::ptrdiff_t step, unsigned rowBytes,
                                unsigned height) {
    std::uint32_t hash = 0;
    for (unsigned y = 0; y < height; y++)
        hash = fingerprint(top + static_cast<std::ptrdiff_t>(y) * step, rowBytes, hash);
    return hash;
}

Bytes readFile(const std::string& name) {
    std::FILE* file = std::fopen(name.c_str(), "rb");
    if (!file) throw NotPossible(name + " is not there");
    Bytes content(1 << 26);
    content.resize(std::fread(content.data(), 1, content.size(), file));
    std::fclose(file);
    return content;
}

void keepInput(const std::string& name, const Bytes& content) {
    std::FILE* file = std::fopen(inputFile(name).c_str(), "wb");
    require(file && std::fwrite(content.data(), 1, content.size(), file) == content.size(),
            "keeping an input");
    std::fclose(file);
}

Bytes keptInput(const std::string& name) {
    return readFile(inputFile(name));
}

}  // namespace bench

int main() {
#ifdef _WIN32
    _setmode(_fileno(stdout), _O_BINARY);
#endif
    char line[200];
    while (std::fgets(line, sizeof line, stdin)) {
        try {
            bench::answer(line);
        } catch (const std::exception& reason) {
            std::printf("failed %s\n", reason.what());
        }
        std::fflush(stdout);
    }
}
