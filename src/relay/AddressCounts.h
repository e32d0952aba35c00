#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <utility>

namespace tevanto::relay {

/// How many connections each address has open. An address is any text that is the same for the same client.
class AddressCounts {
 public:
  /// One connection's place in the count; gives it back at its end. Must not outlive the counts.
  class Place {
   public:
    Place() = default;
    Place(Place&& other) noexcept : owner_(std::exchange(other.owner_, nullptr)), entry_(other.entry_) {}
    Place& operator=(Place&& other) noexcept {
      if (this != &other) {
        release();
        owner_ = std::exchange(other.owner_, nullptr);
        entry_ = other.entry_;
      }
      return *this;
    }
    ~Place() { release(); }

    explicit operator bool() const { return owner_ != nullptr; }
    void release() {
      if (auto* owner = std::exchange(owner_, nullptr)) owner->leave(entry_);
    }

   private:
    friend class AddressCounts;
    using Entry = std::pair<const std::string, std::size_t>;
    Place(AddressCounts& owner, Entry& entry) : owner_(&owner), entry_(&entry) {}

    AddressCounts* owner_ = nullptr;
    Entry* entry_ = nullptr;
  };

  /// No limit when `limit` is 0.
  explicit AddressCounts(std::size_t limit) : limit_(limit) {}
  AddressCounts(const AddressCounts&) = delete;
  AddressCounts& operator=(const AddressCounts&) = delete;

  /// No place when the address has as many as it may.
  Place enter(const std::string& address) {
    auto& entry = *counts_.try_emplace(address, 0).first;
    if (limit_ != 0 && entry.second >= limit_) return {};
    ++entry.second;
    return {*this, entry};
  }

  std::size_t addresses() const { return counts_.size(); }

 private:
  void leave(Place::Entry* entry) {
    if (--entry->second == 0) counts_.erase(counts_.find(entry->first));
  }

  const std::size_t limit_;
  std::unordered_map<std::string, std::size_t> counts_;
};

}  // namespace tevanto::relay
