// Which scans a picture is written in.
#pragma once

#include <span>

#include "jpeg/encode_frame.h"

namespace orn32::jpeg {

// The single scan of a sequential picture.
Scan sequentialScan(const EncodeFrame& frame);

// The scans of an optimised or progressive picture, first to last. The result lives as long as the library.
std::span<const Scan> scanScript(const EncodeFrame& frame);

}  // namespace orn32::jpeg
