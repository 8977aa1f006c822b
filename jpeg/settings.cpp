#include "jpeg/settings.h"

#include "core/locks.h"
#include "orn32.h"

namespace orn32::jpeg {

WriteSettings writeSettings;

}  // namespace orn32::jpeg

using namespace orn32;

// A value out of range is passed over, the others count all the same.
extern "C" void ORNAPI jpegsetxyresolution(UINT xres, UINT yres, UINT units) {
    const ModuleLock lock(Module::jpeg);
    jpeg::Resolution& resolution = jpeg::writeSettings.resolution;
    if (units < 3) resolution.units = units;
    if (xres < 65536) resolution.x = xres;
    if (yres < 65536) resolution.y = yres;
}

extern "C" int ORNAPI jpegsetthumbnailsize(UINT size) {
    const ModuleLock lock(Module::jpeg);
    if (size < 1 || size > 255) return ERR_ARGUMENT;
    jpeg::writeSettings.thumbnailSize = size;
    return 0;
}
