#include "platform/linux/session/ComputerName.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

#include "tests/support/programs/TemporaryFolder.h"

namespace tevanto {
namespace {

std::string hostName() {
  char name[256] = {};
  EXPECT_EQ(::gethostname(name, sizeof name - 1), 0);
  return name;
}

TEST(ComputerName, isThePrettyHostName) {
  const std::pair<const char*, const char*> cases[] = {
      {"PRETTY_HOSTNAME=Kitchen\n", "Kitchen"},
      {"CHASSIS=laptop\nPRETTY_HOSTNAME=\"Ada's Laptop\"\nICON_NAME=x\n", "Ada's Laptop"},
      {"PRETTY_HOSTNAME='Büro \"2\" \\o/'", "Büro \"2\" \\o/"},
      {"  PRETTY_HOSTNAME=\"say \\\"hi\\\"\"  \r\n", "say \"hi\""},
      {"PRETTY_HOSTNAME=old\nPRETTY_HOSTNAME=new\n", "new"},
  };
  for (const auto& [content, expected] : cases) {
    SCOPED_TRACE(content);
    test::TemporaryFolder folder;
    std::ofstream(folder / "machine-info") << content;
    EXPECT_EQ(computerName(folder / "machine-info"), expected);
  }
}

TEST(ComputerName, isTheHostNameWithoutAPrettyOne) {
  test::TemporaryFolder folder;
  EXPECT_EQ(computerName(folder / "missing"), hostName());
  for (const char* content : {"", "PRETTY_HOSTNAME=\n", "PRETTY_HOSTNAME=\"\"\n", "#PRETTY_HOSTNAME=x\n"}) {
    SCOPED_TRACE(content);
    std::ofstream(folder / "machine-info") << content;
    EXPECT_EQ(computerName(folder / "machine-info"), hostName());
  }
}

}  // namespace
}  // namespace tevanto
