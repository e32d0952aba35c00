#include "platform/linux/session/MprisMediaKeys.h"

#include <gtest/gtest.h>

#include "tests/support/desktop/DBusMock.h"

namespace tevanto {
namespace {

constexpr auto kInterface = "org.mpris.MediaPlayer2.Player";

class Player {
 public:
  Player(test::PrivateBus& bus, const std::string& name, const std::string& status, bool canControl = true)
      : mock_(bus, "org.mpris.MediaPlayer2." + name, "/org/mpris/MediaPlayer2", kInterface) {
    mock_.addProperties(kInterface, "{'PlaybackStatus': <'" + status + "'>, 'CanControl': <" +
                                        (canControl ? "true" : "false") + ">, 'Volume': <1.0>}");
    for (const char* method : {"PlayPause", "Next", "Previous"})
      mock_.addMethod({kInterface, method, "", "", ""});
  }
  void setStatus(const std::string& status) {
    mock_.call("org.freedesktop.DBus.Properties.Set", {kInterface, "PlaybackStatus", "<'" + status + "'>"});
  }
  /// The keys that it got, in order, such as "PlayPause Next ".
  std::string keys() const {
    const auto calls = mock_.calls();
    std::string found;
    for (std::size_t at = 0; at < calls.size(); ++at) {
      for (const std::string method : {"PlayPause", "Next", "Previous"}) {
        if (calls.compare(at, method.size() + 2, "'" + method + "'") == 0) found += method + " ";
      }
    }
    return found;
  }
  test::DBusMock& mock() { return mock_; }

 private:
  test::DBusMock mock_;
};

class MprisMediaKeysTest : public testing::Test {
 protected:
  test::PrivateBus bus_;
  MprisMediaKeys keys_{BusAddress::session(bus_.address())};
};

TEST_F(MprisMediaKeysTest, givesEachKeyToThePlayer) {
  Player player(bus_, "radio", "Stopped");
  EXPECT_TRUE(keys_.press(MediaKey::play));
  EXPECT_TRUE(keys_.press(MediaKey::next));
  EXPECT_TRUE(keys_.press(MediaKey::previous));
  EXPECT_EQ(player.keys(), "PlayPause Next Previous ");
}

TEST_F(MprisMediaKeysTest, prefersThePlayerThatPlays) {
  Player first(bus_, "a", "Paused");
  Player playing(bus_, "b", "Playing");
  Player last(bus_, "c", "Paused");
  EXPECT_TRUE(keys_.press(MediaKey::next));
  EXPECT_EQ(playing.keys(), "Next ");
  EXPECT_EQ(first.keys() + last.keys(), "");
}

TEST_F(MprisMediaKeysTest, comesBackToThePlayerThatItPaused) {
  Player other(bus_, "a", "Paused");
  Player player(bus_, "b", "Playing");
  EXPECT_TRUE(keys_.press(MediaKey::play));
  player.setStatus("Paused");
  EXPECT_TRUE(keys_.press(MediaKey::play));
  EXPECT_EQ(player.keys(), "PlayPause PlayPause ");
  other.setStatus("Playing");
  EXPECT_TRUE(keys_.press(MediaKey::play));
  EXPECT_EQ(other.keys(), "PlayPause ") << "unless another one plays now";
}

TEST_F(MprisMediaKeysTest, prefersAPausedPlayerAndThenTheFirstByName) {
  Player stopped(bus_, "a", "Stopped");
  Player second(bus_, "c", "Paused");
  Player first(bus_, "b", "Paused");
  EXPECT_TRUE(keys_.press(MediaKey::play));
  EXPECT_EQ(first.keys(), "PlayPause ");
  EXPECT_EQ(stopped.keys() + second.keys(), "");
}

TEST_F(MprisMediaKeysTest, passesOverPlayersThatCannotBeControlled) {
  Player fixed(bus_, "a", "Playing", false);
  EXPECT_FALSE(keys_.press(MediaKey::play));
  Player player(bus_, "b", "Stopped");
  EXPECT_TRUE(keys_.press(MediaKey::play));
  EXPECT_EQ(fixed.keys(), "");
  EXPECT_EQ(player.keys(), "PlayPause ");
}

TEST_F(MprisMediaKeysTest, passesOverAPlayerThatHangs) {
  Player hung(bus_, "a", "Playing");
  Player player(bus_, "b", "Paused");
  hung.mock().hang();
  EXPECT_TRUE(keys_.press(MediaKey::play));
  EXPECT_EQ(player.keys(), "PlayPause ");
  hung.mock().resume();
  EXPECT_EQ(hung.keys(), "");
}

TEST_F(MprisMediaKeysTest, answersFalseWhenNobodyTakesTheKey) {
  EXPECT_FALSE(keys_.press(MediaKey::play)) << "no player";
  {
    Player player(bus_, "a", "Playing");
    player.mock().addMethod(
        {kInterface, "Next", "", "", "raise dbus.exceptions.DBusException('no', name='org.example.No')"});
    EXPECT_FALSE(keys_.press(MediaKey::next)) << "a player that refuses";
  }
  bus_.stop();
  EXPECT_FALSE(keys_.press(MediaKey::play)) << "no bus";
  bus_.start();
  Player player(bus_, "a", "Playing");
  EXPECT_TRUE(keys_.press(MediaKey::play)) << "a new bus";
}

}  // namespace
}  // namespace tevanto
