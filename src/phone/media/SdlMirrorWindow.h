#pragma once

#include <memory>
#include <string>

#include "core/Result.h"
#include "phone/mirror/MirrorWindow.h"

namespace tevanto::phone {

/// The picture in a window of SDL, as large as the window allows.
class SdlMirrorWindow final : public MirrorWindow {
 public:
  static Result<std::unique_ptr<MirrorWindow>> open(const std::string& title);
  ~SdlMirrorWindow() override;

  void show(const DecodedPicture& picture) override;
  std::vector<WindowEvent> takeEvents() override;

 private:
  struct Screen;
  explicit SdlMirrorWindow(std::unique_ptr<Screen> screen);

  std::unique_ptr<Screen> screen_;
};

}  // namespace tevanto::phone
