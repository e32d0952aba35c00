#include "app/FaceModule.h"

#include "app/ui/QtFace.h"

extern "C" __attribute__((visibility("default"))) tevanto::Face* tevantoMakeFace() {
  return new tevanto::QtFace();
}
