#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/companion/CompanionProcess.h"
#include "tests/support/programs/ChildProcess.h"

namespace tevanto::test {

/// An object on the screen as a screen reader sees it.
struct AccessibleObject {
  std::string role;
  std::string name;
  std::string description;
  int x = 0;  // of the screen, in pixels, as the size
  int y = 0;
  int width = 0;
  int height = 0;
  std::vector<std::string> states;

  bool is(const std::string& state) const;
};

/// A desktop with what windows need of one: a window manager, the accessibility bus and, where the test wants
/// it, a tray. It looks at windows as a screen reader does and acts on them as a person does.
class UiDesktop : public CompanionDesktop {
 public:
  enum class Tray { none, xembed, statusNotifier };

  explicit UiDesktop(Tray tray = Tray::none);

  void startTray(Tray tray);

  /// What the application shows now; empty while it is not there.
  std::vector<AccessibleObject> objects() const;
  std::optional<AccessibleObject> object(const std::string& name) const;
  /// Whether such an object comes to be shown, within a generous deadline.
  bool shows(const std::string& name) const;
  bool ceasesToShow(const std::string& name) const;

  /// A click in the middle of the object, as soon as it is shown; false when it never is.
  bool click(const std::string& name) const;
  void clickAt(int x, int y, int button = 1) const;
  /// "Tab", "space", "Escape", to whatever has the focus.
  void key(const std::string& name) const;
  /// Tab until the object has the focus; false when it never gets it.
  bool focusByKeyboard(const std::string& name) const;

  /// Red, green and blue of the screen's pixels in a rectangle, as 0xrrggbb, row by row.
  std::vector<unsigned> pixels(int x, int y, int width, int height) const;
  /// The text that was copied last.
  std::string clipboard() const;
  /// The title of the window that has the focus.
  std::string activeWindow() const;
  /// Whether an icon comes to be drawn in the tray, within a generous deadline. Without one, clicks hit an
  /// empty tray.
  bool showsTrayIcon() const;
  /// Where the only icon of the tray is drawn, in the middle.
  std::pair<int, int> trayIcon() const;

  ChildProcess::Options options() const { return {.environment = environment, .mergeErrors = true}; }

 private:
  void launch(std::vector<std::string> command);
  void startStatusNotifierTray();
  bool hasStatusNotifierHost();
  bool hasWindowManager() const;

  Tray tray_ = Tray::none;
  std::vector<std::unique_ptr<ChildProcess>> parts_;
};

}  // namespace tevanto::test
