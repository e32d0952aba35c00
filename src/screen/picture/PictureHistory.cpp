#include "screen/picture/PictureHistory.h"

#include <utility>

namespace tevanto {
namespace {

// More than buffers are ever in use; an older picture is redrawn as a whole.
constexpr std::size_t kMostPictures = 16;

}  // namespace

std::uint64_t PictureHistory::add(ChangedArea area) {
  areas_.push_back(std::move(area));
  if (areas_.size() > kMostPictures) areas_.pop_front();
  return ++latest_;
}

void PictureHistory::restart(PixelRect everything) {
  everything_ = everything;
  areas_.clear();
}

ChangedArea PictureHistory::since(std::uint64_t picture) const {
  ChangedArea area;
  const auto age = latest_ - picture;
  // The oldest area leads from a picture that may have had another shape.
  if (picture == 0 || picture > latest_ || age >= areas_.size()) {
    area.add(everything_);
    return area;
  }
  for (auto i = areas_.size() - static_cast<std::size_t>(age); i < areas_.size(); ++i) area.add(areas_[i]);
  return area;
}

}  // namespace tevanto
