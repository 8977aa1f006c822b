// Small sound files of every kind, for the fuzzers to start from.
#pragma once

#include <map>
#include <string>

#include "tests/support/files.h"

namespace fuzz {

using Seeds = std::map<std::string, std::vector<test::Bytes>>;  // by the name of their target

Seeds makeSeeds();

}  // namespace fuzz
