#include "core/queue/Task.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <type_traits>
#include <utility>

namespace tevanto {
namespace {

static_assert(!std::is_copy_constructible_v<Task>);
static_assert(std::is_nothrow_move_constructible_v<Task>);
static_assert(!std::is_constructible_v<Task, int>, "only what can be called is a task");

/// A callable of a chosen size that tells where it stands and how many of its kind are alive.
template <std::size_t extraBytes, bool throwingMove = false>
struct Probe {
  explicit Probe(int& count, const void*& place) : alive(&count), ranAt(&place) { ++count; }
  // NOLINTNEXTLINE(performance-noexcept-move-constructor): one kind of probe may throw
  Probe(Probe&& other) noexcept(!throwingMove) : alive(other.alive), ranAt(other.ranAt) { ++*alive; }
  Probe(const Probe&) = delete;
  ~Probe() { --*alive; }
  void operator()() { *ranAt = this; }

  int* alive;
  const void** ranAt;
  std::array<char, extraBytes> extra{};
};

bool standsInside(const void* place, const Task& task) {
  const auto* begin = reinterpret_cast<const char*>(&task);
  return place >= begin && place < begin + sizeof task;
}

template <class P>
void runsMovesAndDestroys(bool expectInside) {
  int alive = 0;
  const void* ranAt = nullptr;
  {
    Task task{P(alive, ranAt)};
    EXPECT_EQ(alive, 1);
    task();
    EXPECT_EQ(standsInside(ranAt, task), expectInside);

    Task moved(std::move(task));
    EXPECT_FALSE(task);  // NOLINT(bugprone-use-after-move): a task that was moved from is empty
    EXPECT_TRUE(moved);
    EXPECT_EQ(alive, 1);
    moved();
    EXPECT_EQ(standsInside(ranAt, moved), expectInside);

    Task target{P(alive, ranAt)};
    EXPECT_EQ(alive, 2);
    target = std::move(moved);
    EXPECT_EQ(alive, 1) << "what the target held is destroyed";
    target();
    EXPECT_EQ(standsInside(ranAt, target), expectInside);
  }
  EXPECT_EQ(alive, 0);
}

TEST(Task, keepsAClosureOfUpToItsInlineSizeInPlace) {
  using Largest = Probe<Task::kInlineBytes - 2 * sizeof(void*)>;
  static_assert(sizeof(Largest) == Task::kInlineBytes);
  runsMovesAndDestroys<Largest>(true);
}

TEST(Task, keepsALargerClosureOnTheHeap) { runsMovesAndDestroys<Probe<Task::kInlineBytes>>(false); }

TEST(Task, keepsAClosureWhoseMoveMayThrowOnTheHeap) { runsMovesAndDestroys<Probe<1, true>>(false); }

TEST(Task, carriesWhatCannotBeCopied) {
  int seen = 0;
  Task task([owned = std::make_unique<int>(7), &seen] { seen = *owned; });
  Task moved = std::move(task);
  moved();
  EXPECT_EQ(seen, 7);
}

TEST(Task, isEmptyByDefaultAndSurvivesItsOwnAssignment) {
  Task task;
  EXPECT_FALSE(task);
  int ran = 0;
  task = Task([&] { ++ran; });
  Task& itself = task;
  task = std::move(itself);
  ASSERT_TRUE(task);
  task();
  task();
  EXPECT_EQ(ran, 2);
}

}  // namespace
}  // namespace tevanto
