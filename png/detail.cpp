#include "png/detail.h"

namespace orn32::png {

Detail lastDetail = noDetail;

}  // namespace orn32::png

extern "C" int ORNAPI pnggeterror(void) {
    return orn32::png::lastDetail;
}
