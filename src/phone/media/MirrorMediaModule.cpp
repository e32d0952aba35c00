#include "phone/media/LibraryMirrorMedia.h"

extern "C" __attribute__((visibility("default"))) tevanto::phone::MirrorMedia* tevantoMakeMirrorMedia() {
  return new tevanto::phone::LibraryMirrorMedia();
}
