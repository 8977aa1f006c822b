// What callers set for the pictures that they save next.
#pragma once

namespace orn32::jpeg {

struct Resolution {
    unsigned x = 1, y = 1;
    unsigned units = 0;  // 0 none: an aspect ratio, 1 dots per inch, 2 dots per cm
};

// For the whole process, under the module's lock.
struct WriteSettings {
    Resolution resolution;        // of the next picture saved; its header takes it back to the default
    unsigned thumbnailSize = 64;  // the longer side; stays
};

extern WriteSettings writeSettings;

}  // namespace orn32::jpeg
