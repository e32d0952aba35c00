#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <span>
#include <string_view>

namespace tevanto {

/// LineBuffer cuts a stream of bytes into lines that end in a line feed (0x0A). It holds only the line that
/// is not complete yet; lines that come whole are not copied. Each byte is looked at once.
class LineBuffer {
 public:
  static constexpr std::size_t kUnlimited = std::numeric_limits<std::size_t>::max();

  /// `maximum` is the most bytes of a line, without its line feed.
  explicit LineBuffer(std::size_t maximum = kUnlimited) : maximum_(maximum) {}

  /// Calls `visit(std::string_view)`, which answers whether to go on, for each line that `bytes` complete,
  /// without its line feed. False when a line exceeds the maximum, or when there is no memory for the rest.
  template <class Visit>
  [[nodiscard]] bool feed(std::span<const std::byte> bytes, Visit visit) {
    std::string_view rest(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    while (!rest.empty()) {
      const std::size_t length = rest.find('\n');
      if (length == std::string_view::npos) return hold(rest);
      std::string_view line = rest.substr(0, length);
      rest.remove_prefix(length + 1);
      if (length > maximum_ - size_) return false;
      if (size_ > 0) {
        if (!hold(line)) return false;
        line = {held_.get(), size_};
      }
      const bool goOn = visit(line);
      size_ = 0;
      if (capacity_ > kKeptBytes) release();
      if (!goOn) return true;
    }
    return true;
  }

  /// How many bytes of an incomplete line are held.
  std::size_t size() const { return size_; }

 private:
  /// Room that is kept from one line to the next.
  static constexpr std::size_t kKeptBytes = 64 * 1024;

  bool hold(std::string_view bytes) {
    if (bytes.empty()) return true;
    if (bytes.size() > maximum_ - size_) return false;
    if (size_ + bytes.size() > capacity_ && !grow(size_ + bytes.size())) return false;
    std::memcpy(held_.get() + size_, bytes.data(), bytes.size());
    size_ += bytes.size();
    return true;
  }
  bool grow(std::size_t needed);
  void release() {
    held_.reset();
    capacity_ = 0;
  }

  struct Free {
    void operator()(char* memory) const { std::free(memory); }
  };
  const std::size_t maximum_;
  std::unique_ptr<char, Free> held_;
  std::size_t size_ = 0;  // at most `maximum_`
  std::size_t capacity_ = 0;
};

}  // namespace tevanto
