// Calls of all of the library's exports, each on pictures and files of its own, for tests that make them fail
// or run them side by side.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace faults {

struct Call {
    std::string name;  // the export's, and a word on what it is called with
    // Calls the export and releases what it handed out. Returns its result.
    std::function<int()> run;
    // A number that tells the output of the last run from another.
    std::function<unsigned()> output;
    // The file that a save makes; empty otherwise. Appends have it from before.
    std::string made = {};
    bool appends = false;

    std::string exportName() const { return name.substr(0, name.find(' ')); }
};

// Calls on files in a folder of their own, made now. Several sets can be used at the same time.
std::vector<Call> makeCalls(const std::string& folder);

}  // namespace faults
