#pragma once

namespace tevanto::phone {

class MirrorMedia;

/// The module that holds the phone's media libraries, and the function in it that makes a MirrorMedia, which
/// the caller owns.
inline constexpr auto* kMediaModule = "phone-media";
inline constexpr auto* kMakeMirrorMedia = "tevantoMakeMirrorMedia";
using MakeMirrorMedia = MirrorMedia* (*)();

}  // namespace tevanto::phone
