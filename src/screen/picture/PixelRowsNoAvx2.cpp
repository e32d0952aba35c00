#include "screen/picture/PixelRows.h"

namespace tevanto {

const PixelRows* avx2PixelRows() { return nullptr; }

}  // namespace tevanto
