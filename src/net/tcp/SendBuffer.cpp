#include "net/tcp/SendBuffer.h"

#include <algorithm>
#include <utility>

namespace tevanto {
namespace {

/// A block that grew beyond this is released once it is empty.
constexpr std::size_t kKeptBytes = 64 * 1024;

}  // namespace

void SendBuffer::append(std::span<const std::byte> bytes) {
  if (bytes.empty()) return;
  if (blocks_.empty() || blocks_.back().shared) blocks_.push_back({std::exchange(spare_, {}), 0, {}, {}});
  auto& block = blocks_.back().own;
  block.insert(block.end(), bytes.begin(), bytes.end());
  size_ += bytes.size();
}

void SendBuffer::append(SharedBytes bytes, Task processed) {
  size_ += bytes->size();
  blocks_.push_back({{}, 0, std::move(bytes), std::move(processed)});
}

std::size_t SendBuffer::front(std::span<std::span<const std::byte>> pieces) const {
  std::size_t filled = 0;
  for (auto block = blocks_.begin(); block != blocks_.end() && filled < pieces.size(); ++block) {
    pieces[filled++] = std::span(block->bytes()).subspan(block->written);
  }
  return filled;
}

void SendBuffer::consume(std::size_t count) {
  size_ -= count;
  while (!blocks_.empty()) {
    auto& block = blocks_.front();
    const auto taken = std::min(count, block.bytes().size() - block.written);
    block.written += taken;
    count -= taken;
    if (block.written < block.bytes().size()) return compactFront();
    finishFront();
  }
}

void SendBuffer::clear() {
  size_ = 0;
  while (!blocks_.empty()) finishFront();
}

void SendBuffer::finishFront() {
  auto& block = blocks_.front();
  if (block.processed) processed_.push_back(std::move(block.processed));
  if (!block.shared && block.own.capacity() <= kKeptBytes) {
    block.own.clear();
    spare_ = std::move(block.own);
  }
  blocks_.pop_front();
}

// The block of small pieces may never run empty while more is appended to it.
void SendBuffer::compactFront() {
  auto& block = blocks_.front();
  if (block.shared || block.written <= block.own.size() / 2) return;
  block.own.erase(block.own.begin(), block.own.begin() + static_cast<std::ptrdiff_t>(block.written));
  block.written = 0;
}

}  // namespace tevanto
