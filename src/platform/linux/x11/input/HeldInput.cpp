#include "platform/linux/x11/input/HeldInput.h"

#include <random>
#include <string>

namespace tevanto {
namespace {

constexpr std::uint32_t kLongestRecord = 1024;  // words
constexpr int kSlots = 8;                       // companions at one display
constexpr std::size_t kHeader = 2;              // words before the entries

xcb_window_t makeOwnerWindow(const XInputConnection& x) {
  const auto window = xcb_generate_id(x.xcb());
  xcb_create_window(x.xcb(), 0, window, x.root(), -1, -1, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                    XCB_COPY_FROM_PARENT, 0, nullptr);
  return window;
}

}  // namespace

HeldInput::HeldInput(std::shared_ptr<XInputConnection> x, Logger log)
    : x_(std::move(x)),
      log_(std::move(log)),
      window_(makeOwnerWindow(*x_)),
      nonce_(std::random_device()()),
      nonceProperty_(x_->atom("_TEVANTO_HELD_INPUT_OWNER")) {
  xcb_change_property(x_->xcb(), XCB_PROP_MODE_REPLACE, window_, nonceProperty_, XCB_ATOM_CARDINAL, 32, 1,
                      &nonce_);
  xcb_grab_server(x_->xcb());  // two companions may start at the same time
  claimSlot();
  write();
  xcb_ungrab_server(x_->xcb());
  x_->flush();
}

HeldInput::~HeldInput() {
  if (x_->broken()) return;
  for (const auto& entry : entries_) releaseEntry(entry);
  xcb_delete_property(x_->xcb(), x_->root(), slot_);
  xcb_destroy_window(x_->xcb(), window_);
  const auto cookie = xcb_get_input_focus(x_->xcb());  // its answer comes after all of the above
  const XcbOwned<xcb_get_input_focus_reply_t> done(xcb_get_input_focus_reply(x_->xcb(), cookie, nullptr));
}

void HeldInput::claimSlot() {
  for (int number = 0; number < kSlots; ++number) {
    const auto slot = x_->atom("_TEVANTO_HELD_INPUT_" + std::to_string(number));
    if (recover(slot) && slot_ == XCB_ATOM_NONE) slot_ = slot;
  }
}

/// Whether the slot belongs to nobody (any more).
bool HeldInput::recover(xcb_atom_t slot) {
  const auto record = read(x_->root(), slot);
  if (record.size() < kHeader) return true;
  if (ownerLives(record)) return false;
  for (std::size_t i = kHeader; i < record.size(); ++i)
    releaseEntry({static_cast<What>(record[i] >> 8), static_cast<std::uint8_t>(record[i] & 0xff)});
  if (record.size() > kHeader) log_.info("Released the keys and buttons that an earlier run left held down");
  xcb_delete_property(x_->xcb(), x_->root(), slot);
  return true;
}

bool HeldInput::ownerLives(const Record& record) const {
  const auto nonce = read(record[0], nonceProperty_);
  return nonce.size() == 1 && nonce[0] == record[1];
}

HeldInput::Record HeldInput::read(xcb_window_t window, xcb_atom_t property) const {
  const auto cookie = xcb_get_property(x_->xcb(), 0, window, property, XCB_ATOM_CARDINAL, 0, kLongestRecord);
  const XcbOwned<xcb_get_property_reply_t> reply(xcb_get_property_reply(x_->xcb(), cookie, nullptr));
  if (!reply || reply->format != 32) return {};
  const auto* words = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
  return Record(words, words + reply->value_len);
}

void HeldInput::write() {
  Record record{window_, nonce_};
  for (const auto& [what, code] : entries_) record.push_back(static_cast<std::uint32_t>(what) << 8 | code);
  xcb_change_property(x_->xcb(), XCB_PROP_MODE_REPLACE, x_->root(), slot_, XCB_ATOM_CARDINAL, 32,
                      static_cast<std::uint32_t>(record.size()), record.data());
}

void HeldInput::press(std::span<const Entry> entries) {
  entries_.insert(entries.begin(), entries.end());
  write();
  for (const auto& entry : entries) fake(entry, true);
}

void HeldInput::release(std::span<const Entry> entries) {
  for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) fake(*entry, false);
  for (const auto& entry : entries) entries_.erase(entry);
  write();
}

void HeldInput::fake(const Entry& entry, bool down) const {
  if (entry.first == What::key) x_->fakeKey(entry.second, down);
  if (entry.first == What::button) x_->fakeButton(entry.second, down);
}

void HeldInput::releaseEntry(const Entry& entry) const {
  fake(entry, false);
  if (entry.first != What::borrowedKeycode) return;
  const xcb_keysym_t none = XCB_NO_SYMBOL;
  xcb_change_keyboard_mapping(x_->xcb(), 1, entry.second, 1, &none);
}

}  // namespace tevanto
