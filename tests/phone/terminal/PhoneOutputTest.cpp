#include "phone/terminal/PhoneOutput.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "tests/support/programs/TemporaryFolder.h"

namespace tevanto::phone {
namespace {

std::string contentOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST(PhoneOutput, alignsApplicationsByCharacters) {
  std::ostringstream out, err;
  RemoteMessage message;
  message.type = "appList";
  message.apps = {{"Éditeur", "org.e", std::nullopt, std::nullopt}, {"X", "org.x\x1b", std::nullopt, 1e300}};
  PhoneOutput(out, err, PhoneOutput::Format::text).apps(message);
  EXPECT_EQ(out.str(),
            "NAME     INSTALLED   IDENTIFIER\n"
            "Éditeur              org.e\n"
            "X                    org.x\n");
}

TEST(PhoneOutput, showsWhatIsUnknown) {
  std::ostringstream out, err;
  PhoneOutput output(out, err, PhoneOutput::Format::text);
  RemoteMessage message;
  message.type = "systemState";
  output.systemState(message);
  message.type = "powerState";
  message.message = "power unavailable";
  output.powerState(message);
  EXPECT_EQ(out.str(),
            "Volume:      unknown\nMuted:       unknown\n"
            "Keep awake:  unknown (power unavailable)\nBattery:     none\n");
}

TEST(PhoneOutput, writesIconsInsideTheirFolderOnly) {
  test::TemporaryFolder folder;
  const auto icons = folder / "icons";
  const std::vector<RemoteAppInfo> apps = {{"A", "org.a", "iVBORw==", std::nullopt},
                                           {"B", "../../evil", "iVBORw==", std::nullopt},
                                           {"C", "org.broken", "***", std::nullopt},
                                           {"D", "org.none", std::nullopt, std::nullopt}};
  const auto written = writeIcons(apps, icons);
  ASSERT_TRUE(written) << written.error();
  EXPECT_EQ(written.value(), 2);
  EXPECT_EQ(contentOf(icons / "org.a.png"), "\x89PNG");
  EXPECT_EQ(contentOf(icons / "_._.._evil.png"), "\x89PNG");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(icons), {}), 2);
}

TEST(PhoneOutput, saysWhenIconsCannotBeWritten) {
  EXPECT_FALSE(writeIcons({{"A", "a", "iVBORw==", std::nullopt}}, "/dev/null/icons"));
}

}  // namespace
}  // namespace tevanto::phone
