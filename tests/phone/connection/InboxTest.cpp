#include "phone/connection/Inbox.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <thread>

namespace tevanto::phone {
namespace {

using namespace std::chrono_literals;

bool isReadable(const Inbox& inbox) {
  pollfd entry{inbox.descriptor(), POLLIN, 0};
  return ::poll(&entry, 1, 0) == 1;
}

Inbox::Message message(std::size_t size, int fill = 1) {
  return Inbox::Message(size, static_cast<std::byte>(fill));
}

TEST(Inbox, handsOutInOrderAndAnnouncesWhatIsThere) {
  Inbox inbox;
  EXPECT_FALSE(isReadable(inbox));
  inbox.put(message(1, 1));
  inbox.put(message(1, 2));
  EXPECT_TRUE(isReadable(inbox));
  EXPECT_EQ(inbox.take(), message(1, 1));
  EXPECT_TRUE(isReadable(inbox));
  EXPECT_EQ(inbox.take(), message(1, 2));
  EXPECT_FALSE(isReadable(inbox));
  EXPECT_EQ(inbox.take(), std::nullopt);
}

TEST(Inbox, whatCameBeforeTheEndCanStillBeTaken) {
  Inbox inbox;
  inbox.put(message(3));
  inbox.close();
  inbox.put(message(4));
  EXPECT_FALSE(inbox.isOver());
  EXPECT_TRUE(inbox.take());
  EXPECT_TRUE(inbox.isOver());
  EXPECT_TRUE(isReadable(inbox)) << "who polls must see the end";
}

TEST(Inbox, losesWhatDoesNotFit) {
  Inbox inbox;
  inbox.put(message(Inbox::kMaxBytes));
  inbox.put(message(1));
  EXPECT_TRUE(inbox.take());
  EXPECT_FALSE(inbox.take());
  inbox.put(message(1));
  EXPECT_TRUE(inbox.take());
}

TEST(Inbox, wakesWhoWaits) {
  Inbox inbox;
  std::thread other([&] { inbox.put(message(1)); });
  while (!inbox.take()) inbox.wait(std::chrono::steady_clock::now() + 30s);
  other.join();
}

}  // namespace
}  // namespace tevanto::phone
