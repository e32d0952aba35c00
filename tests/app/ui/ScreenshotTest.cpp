#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <tuple>

#include "tests/app/ui/Screenshots.h"
#include "tests/app/ui/ShownView.h"
#include "tests/app/ui/UiTestScale.h"

namespace tevanto {
namespace {

using test::ShownView;
using test::UiWorld;

enum class Theme { light, dark };

/// A state that the window can be in, as the services bring it about.
struct Scene {
  const char* name;
  ShownView::Kind kind;
  void (*arrange)(UiWorld& world);
};

void PrintTo(const Scene& scene, std::ostream* out) { *out << scene.name; }

void completeGuide(UiWorld& world) { (void)world.defaults.set(CompanionModel::kGuideKey, true); }

void ready(UiWorld& world) {
  completeGuide(world);
  world.loginItem.current = LoginItemStatus::enabled;
  // It is drawn anew at each start.
  world.runtime().server().pairingCode.set("482913");
}

const Scene kScenes[] = {
    {"guide", ShownView::Kind::setupWindow, [](UiWorld&) {}},
    {"ready", ShownView::Kind::setupWindow, ready},
    {"connected", ShownView::Kind::setupWindow,
     [](UiWorld& world) {
       ready(world);
       world.connectPhone();
     }},
    {"mirroring", ShownView::Kind::setupWindow,
     [](UiWorld& world) {
       ready(world);
       world.connectPhone();
       world.mirror();
     }},
    {"permissions-missing", ShownView::Kind::setupWindow,
     [](UiWorld& world) {
       world.accessibility.trusted = false;
       world.screenRecording.granted = false;
       ready(world);
     }},
    {"battery", ShownView::Kind::setupWindow,
     [](UiWorld& world) {
       world.sources.setBattery(64, PowerSources::kBatteryPower);
       ready(world);
       world.runtime().power().setKeepAwake(true);
     }},
    {"approval-required", ShownView::Kind::setupWindow,
     [](UiWorld& world) {
       world.loginItem.current = LoginItemStatus::requiresApproval;
       completeGuide(world);
       world.runtime().server().pairingCode.set("482913");
     }},
    {"panel", ShownView::Kind::panel,
     [](UiWorld& world) {
       ready(world);
       world.connectPhone();
     }},
};

class Screenshot : public ::testing::TestWithParam<std::tuple<Scene, Theme>> {};

TEST_P(Screenshot, looksLikeItsReference) {
  const auto& [scene, theme] = GetParam();
  UiWorld world;
  scene.arrange(world);
  world.run();
  ShownView view(world, scene.kind);
  view.appearance().setMotionReduced(true);
  view.appearance().setDark(theme == Theme::dark);
  view.settle();
  const auto name = QString("%1-%2-%3")
                        .arg(scene.name, theme == Theme::dark ? "dark" : "light")
                        .arg(qRound(view.window().effectiveDevicePixelRatio() * 100));
  const auto wrong = test::compareWithReference(name, view.window().grabWindow());
  EXPECT_TRUE(wrong.isEmpty()) << wrong.toStdString();
}

std::string nameOf(const ::testing::TestParamInfo<Screenshot::ParamType>& info) {
  auto name = std::string(std::get<0>(info.param).name) +
              (std::get<1>(info.param) == Theme::dark ? "_dark" : "_light") + "_" + test::kUiTestScale;
  std::replace_if(
      name.begin(), name.end(), [](char c) { return c == '-' || c == '.'; }, '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(All, Screenshot,
                         ::testing::Combine(::testing::ValuesIn(kScenes),
                                            ::testing::Values(Theme::light, Theme::dark)),
                         nameOf);

}  // namespace
}  // namespace tevanto
