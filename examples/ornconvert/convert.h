// Doing what the command line asks for.
#pragma once

#include "job.h"

namespace ornconvert {

// Both name every file that fails in a message, go on with the others, and return whether all went well. They
// throw a UsageError for files that do not go together.
bool convertFiles(Job& job);
bool printInfo(Job& job);

}  // namespace ornconvert
