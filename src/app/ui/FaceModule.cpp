#include "app/FaceModule.h"

#include "app/ui/InstalledFonts.h"
#include "app/ui/QtFace.h"

extern "C" __attribute__((visibility("default"))) tevanto::Face* tevantoMakeFace() {
  return new tevanto::QtFace();
}

extern "C" __attribute__((visibility("default"))) std::string* tevantoDescribeFonts() {
  return new std::string(tevanto::describeInstalledFonts());
}
