#pragma once

#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

namespace tevanto {

/// Task is a move-only `void()` callable. Closures of up to `kInlineBytes` are stored in place, so that
/// posting one for a pointer command costs no allocation. Larger ones go to the heap.
class Task {
 public:
  static constexpr std::size_t kInlineBytes = 48;

  Task() = default;

  /// Any `void()` callable, a lambda above all, is a task.
  template <class F, class = std::enable_if_t<!std::is_same_v<std::decay_t<F>, Task> &&
                                              std::is_invocable_v<std::decay_t<F>&>>>
  Task(F&& work) {  // NOLINT(google-explicit-constructor)
    using Stored = std::decay_t<F>;
    if constexpr (fitsInline<Stored>()) {
      new (storage_) Stored(std::forward<F>(work));
      operations_ = &kInlineOperations<Stored>;
    } else {
      *reinterpret_cast<Stored**>(storage_) = new Stored(std::forward<F>(work));
      operations_ = &kHeapOperations<Stored>;
    }
  }

  Task(Task&& other) noexcept { take(other); }
  Task& operator=(Task&& other) noexcept {
    if (this != &other) {
      reset();
      take(other);
    }
    return *this;
  }
  Task(const Task&) = delete;
  Task& operator=(const Task&) = delete;
  ~Task() { reset(); }

  void operator()() { operations_->invoke(storage_); }
  explicit operator bool() const { return operations_ != nullptr; }

 private:
  struct Operations {
    void (*invoke)(std::byte* storage);
    void (*relocate)(std::byte* from, std::byte* to) noexcept;
    void (*destroy)(std::byte* storage) noexcept;
  };

  template <class Stored>
  static constexpr bool fitsInline() {
    return sizeof(Stored) <= kInlineBytes && alignof(Stored) <= alignof(std::max_align_t) &&
           std::is_nothrow_move_constructible_v<Stored>;
  }

  template <class Stored>
  static Stored& inlineObject(std::byte* storage) {
    return *std::launder(reinterpret_cast<Stored*>(storage));
  }
  template <class Stored>
  static Stored*& heapObject(std::byte* storage) {
    return *std::launder(reinterpret_cast<Stored**>(storage));
  }

  template <class Stored>
  static constexpr Operations kInlineOperations{
      [](std::byte* storage) { inlineObject<Stored>(storage)(); },
      [](std::byte* from, std::byte* to) noexcept {
        new (to) Stored(std::move(inlineObject<Stored>(from)));
        inlineObject<Stored>(from).~Stored();
      },
      [](std::byte* storage) noexcept { inlineObject<Stored>(storage).~Stored(); }};

  template <class Stored>
  static constexpr Operations kHeapOperations{
      [](std::byte* storage) { (*heapObject<Stored>(storage))(); },
      [](std::byte* from, std::byte* to) noexcept { new (to) Stored*(heapObject<Stored>(from)); },
      [](std::byte* storage) noexcept { delete heapObject<Stored>(storage); }};

  void take(Task& other) noexcept {
    operations_ = std::exchange(other.operations_, nullptr);
    if (operations_) operations_->relocate(other.storage_, storage_);
  }
  void reset() noexcept {
    if (auto* operations = std::exchange(operations_, nullptr)) operations->destroy(storage_);
  }

  alignas(std::max_align_t) std::byte storage_[kInlineBytes];
  const Operations* operations_ = nullptr;
};

}  // namespace tevanto
