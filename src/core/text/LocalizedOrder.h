#pragma once

#include <memory>
#include <string_view>

namespace tevanto {

/// LocalizedOrder compares names as the user's locale sorts them, without regard to case. Build one for a
/// whole sort.
class LocalizedOrder {
 public:
  LocalizedOrder();
  ~LocalizedOrder();
  LocalizedOrder(const LocalizedOrder&) = delete;
  LocalizedOrder& operator=(const LocalizedOrder&) = delete;

  /// Negative, zero or positive, as `a` sorts before, with or after `b` (both UTF-8).
  int compare(std::string_view a, std::string_view b) const;

 private:
  struct Collation;
  std::unique_ptr<Collation> collation_;
};

}  // namespace tevanto
