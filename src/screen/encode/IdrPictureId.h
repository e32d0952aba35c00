#pragma once

#include <cstdint>

#include "screen/encode/AccessUnit.h"

namespace tevanto {

/// Gives the slices of a key frame `id` as their idr_pic_id (ITU-T H.264, 7.4.3), which has to differ between
/// key frames that follow one another: an encoder that is begun anew counts from 0 again, and of those that
/// it put out some may be left out on the way. For streams without arithmetic coding, whose bits may be
/// moved, of frames and of the Main profile at most; others are left as they are, and false is returned.
bool setIdrPictureId(AccessUnit& unit, std::uint16_t id);

}  // namespace tevanto
