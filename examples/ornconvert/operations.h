// Changes of a picture between loading and saving, and the options that ask for them.
#pragma once

#include <span>

#include "options.h"

namespace ornconvert {

// One group of options per source file of operations, in the order in which the help shows them.
std::span<const OptionGroup* const> operationGroups();

}  // namespace ornconvert
