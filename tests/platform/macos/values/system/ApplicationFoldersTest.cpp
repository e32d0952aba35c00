#include "platform/macos/values/system/ApplicationFolders.h"

#include <gmock/gmock.h>

namespace tevanto {
namespace {

using testing::ElementsAre;

TEST(ApplicationFolders, standInTheirOrderWithTheUsersOwnLast) {
  EXPECT_THAT(applicationFoldersOf("/Users/ada"),
              ElementsAre("/Applications", "/Applications/Utilities", "/System/Applications",
                          "/System/Applications/Utilities", "/Users/ada/Applications"));
  EXPECT_EQ(applicationFoldersOf("/Users/ada/").back(), "/Users/ada/Applications");
}

TEST(ApplicationFolders, holdApplicationsByTheirNames) {
  EXPECT_TRUE(isApplicationName("Notes.app"));
  EXPECT_TRUE(isApplicationName("Version 2.0.app"));
  EXPECT_FALSE(isApplicationName("Notes.app.zip"));
  EXPECT_FALSE(isApplicationName("Utilities"));
  EXPECT_FALSE(isApplicationName("app"));
  EXPECT_EQ(applicationFileName("Notes.app"), "Notes");
  EXPECT_EQ(applicationFileName("Version 2.0.app"), "Version 2.0");
  EXPECT_EQ(applicationFileName("Notes"), "Notes");
}

}  // namespace
}  // namespace tevanto
