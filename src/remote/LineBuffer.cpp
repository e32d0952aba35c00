#include "remote/LineBuffer.h"

#include <algorithm>

namespace tevanto {

// By realloc, which moves large blocks by their page tables: a long line never exists twice. Where it has to
// copy, old and new together hold at most twice the line.
bool LineBuffer::grow(std::size_t needed) {
  const std::size_t capacity = std::max(needed, capacity_ + capacity_ / 2);
  auto* memory = static_cast<char*>(std::realloc(held_.get(), capacity));
  if (!memory) return false;
  (void)held_.release();
  held_.reset(memory);
  capacity_ = capacity;
  return true;
}

}  // namespace tevanto
