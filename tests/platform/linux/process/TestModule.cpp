#include "tests/platform/linux/process/TestModule.h"

namespace {

class ModulesGreeting final : public tevanto::test::Greeting {
 public:
  explicit ModulesGreeting(std::string text) : text_(std::move(text)) {}
  std::string text() const override { return text_; }

 private:
  const std::string text_;
};

}  // namespace

extern "C" __attribute__((visibility("default"))) tevanto::test::Greeting* tevantoMakeGreeting(
    const tevanto::test::GreetingName& name, int times) {
  if (times == 0) return nullptr;
  return new ModulesGreeting(name.text + " x" + std::to_string(times) + ", copied " +
                             std::to_string(name.copies));
}

extern "C" __attribute__((visibility("default"))) int tevantoAddUp(int first, int second) {
  return first + second;
}
