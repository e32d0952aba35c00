#pragma once

#include <array>
#include <chrono>
#include <cstdint>

namespace tevanto::relay {

/// Deadlines for many connections at little cost: each has one entry of a few words, and one real timer turns
/// the wheel for all of them. An entry comes due in the first turn at or after its time, at most one tick
/// late. Time comes in from outside. Entries must not outlive the wheel while they are scheduled.
class TimerWheel {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;
  using Duration = std::chrono::steady_clock::duration;

  class Entry {
   public:
    Entry() = default;
    virtual ~Entry() { unlink(); }
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;

    bool isScheduled() const { return next_ != nullptr; }

   protected:
    /// The time has come. The entry is no longer scheduled and may be scheduled again, or destroyed.
    virtual void due(TimePoint now) = 0;

   private:
    friend class TimerWheel;
    void unlink();

    Entry* next_ = nullptr;
    Entry* previous_ = nullptr;
    std::uint64_t tick_ = 0;
  };

  TimerWheel(Duration tick, TimePoint now);
  ~TimerWheel();
  TimerWheel(const TimerWheel&) = delete;
  TimerWheel& operator=(const TimerWheel&) = delete;

  /// Schedules an entry, or moves it to another time.
  void schedule(Entry& entry, TimePoint due);
  static void cancel(Entry& entry) { entry.unlink(); }
  /// Calls every entry that is due at `now`, in the order of their ticks.
  void advance(TimePoint now);

 private:
  class List final : public Entry {
   public:
    List();
    ~List() override;
    bool isEmpty() const;
    Entry& front();
    void append(Entry& entry);
    void takeAll(List& other);

   private:
    friend class TimerWheel;
    void due(TimePoint) override {}
  };
  // With ticks of 100 ms this holds the usual interval of pings in one round.
  static constexpr std::size_t kSlots = 256;

  void turn(TimePoint now);

  const Duration tick_;
  const TimePoint start_;
  std::uint64_t current_ = 0;
  std::array<List, kSlots> slots_;
};

}  // namespace tevanto::relay
