#include "platform/linux/desktop/shortcuts/DesktopShortcut.h"

#include <gtest/gtest.h>

#include <ostream>

#include "control/InputEvents.h"
#include "platform/linux/input/VirtualKeyCodes.h"

namespace tevanto {
namespace {

constexpr auto kControl = eventFlag::kControl;
constexpr auto kShift = eventFlag::kShift;
constexpr auto kAlt = eventFlag::kOption;
constexpr std::uint16_t kSuper = kSuperKeyBit;

struct Row {
  const char* text;
  std::optional<DesktopShortcut> shortcut;
  friend void PrintTo(const Row& row, std::ostream* out) { *out << row.text; }
};

class GtkAcceleratorTest : public testing::TestWithParam<Row> {};
TEST_P(GtkAcceleratorTest, isRead) {
  EXPECT_EQ(DesktopShortcut::fromGtk(GetParam().text), GetParam().shortcut);
}
INSTANTIATE_TEST_SUITE_P(
    rows, GtkAcceleratorTest,
    testing::Values(Row{"<Control><Alt>Left", {{123, kControl | kAlt}}},
                    Row{"<Primary><Alt>Right", {{124, kControl | kAlt}}},
                    Row{"<Super>Page_Up", {{116 | kSuper, 0}}}, Row{"<Mod4>Next", {{121 | kSuper, 0}}},
                    Row{"<Super><Shift>Page_Down", {{121 | kSuper, kShift}}},
                    Row{"<Super>d", {{2 | kSuper, 0}}}, Row{"<Control><Alt>D", {{2, kControl | kAlt}}},
                    Row{"<Alt>Above_Tab", {{50, kAlt}}}, Row{"<Super>Tab", {{48 | kSuper, 0}}},
                    Row{"F11", {{103, 0}}}, Row{"<ctrl>f20", {{90, kControl}}},
                    Row{"<Ctl><shft><mod1>comma", {{43, kControl | kShift | kAlt}}},
                    Row{"<Super>1", {{18 | kSuper, 0}}}, Row{"a", {{0, 0}}}, Row{"<Alt>space", {{49, kAlt}}},
                    Row{"<Hyper>a", {}}, Row{"<Super>", {}}, Row{"", {}}, Row{"<Super", {}}, Row{"<>a", {}},
                    Row{"XF86AudioPlay", {}}, Row{"<Alt>\xc3\xa9", {}}, Row{"disabled", {}}, Row{" ", {}},
                    Row{"<Super>+", {}}));

class QtKeySequenceTest : public testing::TestWithParam<Row> {};
TEST_P(QtKeySequenceTest, isRead) {
  EXPECT_EQ(DesktopShortcut::fromQt(GetParam().text), GetParam().shortcut);
}
INSTANTIATE_TEST_SUITE_P(rows, QtKeySequenceTest,
                         testing::Values(Row{"Meta+Ctrl+Left", {{123 | kSuper, kControl}}},
                                         Row{"Ctrl+Alt+Shift+PgUp", {{116, kControl | kAlt | kShift}}},
                                         Row{"Meta+D", {{2 | kSuper, 0}}}, Row{"Ctrl+F7", {{98, kControl}}},
                                         Row{"F11", {{103, 0}}}, Row{"Alt+Esc", {{53, kAlt}}},
                                         Row{"Meta+/", {{44 | kSuper, 0}}}, Row{"Del", {{117, 0}}},
                                         Row{"Ctrl+,", {{43, kControl}}}, Row{"Ctrl++", {}}, Row{"+", {}},
                                         Row{"", {}}, Row{"Hyper+A", {}}, Row{"Meta+", {}},
                                         Row{"Media Play", {}}, Row{"none", {}}));

}  // namespace
}  // namespace tevanto
