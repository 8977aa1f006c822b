// Calls of all of the library's exports, each on pictures and files of its own, for tests that make them fail
// or run them side by side.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace faults {

unsigned hash(const void* data, std::size_t size, unsigned seed = 2166136261u);
unsigned hashOfFile(const std::string& name);  // 0 where there is none

struct Call {
    std::string name;          // as it stands in the source: export(arguments)
    std::function<int()> run;  // on the same as ever; releases what was handed out, returns the result
    std::function<unsigned()> output;  // of the last run, as a number that tells it from another
    int result;                        // what both were when nothing failed
    unsigned wanted;
    std::string file;     // that a save makes, or an append appends to; else empty
    unsigned fileBefore;  // its hash when a run begins

    std::string exportName() const { return name.substr(0, name.find('(')); }
    // Runs it. Returns what is not as it was when nothing failed, or "".
    std::string deviation() const;
};

// Calls on pictures of the given size and on files in a folder that is there as long as they are. Several
// sets can be used at the same time.
struct CallSet {
    explicit CallSet(unsigned width = 61, unsigned height = 47);
    ~CallSet();
    CallSet(const CallSet&) = delete;
    CallSet& operator=(const CallSet&) = delete;

    std::string folder;
    std::vector<Call> calls;
};

}  // namespace faults
