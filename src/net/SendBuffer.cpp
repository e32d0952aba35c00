#include "net/SendBuffer.h"

#include <algorithm>
#include <utility>

namespace tevanto {
namespace {

/// A block that grew beyond this is given back once it is empty.
constexpr std::size_t kKeptBytes = 64 * 1024;

}  // namespace

void SendBuffer::append(std::span<const std::byte> bytes) {
  if (blocks_.empty() || blocks_.back().processed) blocks_.push_back({std::exchange(spare_, {}), 0, {}});
  auto& block = blocks_.back().bytes;
  block.insert(block.end(), bytes.begin(), bytes.end());
  size_ += bytes.size();
}

void SendBuffer::append(std::vector<std::byte> bytes, Task processed) {
  size_ += bytes.size();
  blocks_.push_back({std::move(bytes), 0, std::move(processed)});
}

std::size_t SendBuffer::front(std::span<std::span<const std::byte>> pieces) const {
  std::size_t filled = 0;
  for (auto block = blocks_.begin(); block != blocks_.end() && filled < pieces.size(); ++block) {
    pieces[filled++] = std::span(block->bytes).subspan(block->written);
  }
  return filled;
}

void SendBuffer::consume(std::size_t count) {
  size_ -= count;
  while (!blocks_.empty()) {
    auto& block = blocks_.front();
    const auto taken = std::min(count, block.bytes.size() - block.written);
    block.written += taken;
    count -= taken;
    if (block.written < block.bytes.size()) return compactFront();
    finishFront();
  }
}

void SendBuffer::clear() {
  size_ = 0;
  while (!blocks_.empty()) finishFront();
}

void SendBuffer::finishFront() {
  auto& block = blocks_.front();
  if (block.processed) {
    processed_.push_back(std::move(block.processed));
  } else if (block.bytes.capacity() <= kKeptBytes) {
    block.bytes.clear();
    spare_ = std::move(block.bytes);
  }
  blocks_.pop_front();
}

// A shared block may never run empty while more is appended to it.
void SendBuffer::compactFront() {
  auto& block = blocks_.front();
  if (block.processed || block.written <= block.bytes.size() / 2) return;
  block.bytes.erase(block.bytes.begin(), block.bytes.begin() + static_cast<std::ptrdiff_t>(block.written));
  block.written = 0;
}

}  // namespace tevanto
