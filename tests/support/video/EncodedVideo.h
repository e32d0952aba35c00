#pragma once

#include <string>
#include <vector>

#include "tests/support/peers/ScreenBytes.h"

namespace tevanto::test {

/// H.264 as the computer sends it, made by libx264 (the program `ffmpeg`) when a test asks for it.
struct EncodedVideo {
  struct Frame {
    Bytes data;  // slices and SEI, each behind its length in 4 bytes
    bool isKeyframe = false;

    /// As a message of the screen stream.
    Bytes message() const;
  };

  Bytes sps;
  Bytes pps;
  std::vector<Frame> frames;

  /// `graph`: what is to be seen, in the language of ffmpeg's filters, such as "testsrc2=s=320x160:r=10".
  /// A key frame every `interval` frames, each of `slices` slices. Throws when it cannot be made.
  static EncodedVideo make(const std::string& graph, int frames, int interval, int slices = 1);

  Bytes parameterSets() const;
  /// The parameter sets and the frames from `first` on, `count` of them.
  std::vector<Bytes> messages(std::size_t first, std::size_t count) const;
};

}  // namespace tevanto::test
