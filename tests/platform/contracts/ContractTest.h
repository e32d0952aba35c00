#pragma once

// What the contracts of an interface are written with. A program instantiates those that it includes for each
// implementation that it has; one that it leaves out says so with
// GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST.

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <ostream>
#include <string>

namespace tevanto::test {

/// An implementation with the servers that it needs around it.
template <class Interface>
struct Stage {
  virtual ~Stage() = default;
  virtual Interface& subject() = 0;
};

template <class Interface>
struct Implementation {
  const char* name;
  std::function<std::unique_ptr<Stage<Interface>>()> make;
};

template <class Interface>
void PrintTo(const Implementation<Interface>& implementation, std::ostream* out) {
  *out << implementation.name;
}

template <class Interface>
class ContractTest : public testing::TestWithParam<Implementation<Interface>> {
 protected:
  Interface& subject() { return stage_->subject(); }

 private:
  std::unique_ptr<Stage<Interface>> stage_ = this->GetParam().make();
};

template <class Interface, class Fake>
Implementation<Interface> fake() {
  struct FakeStage final : Stage<Interface> {
    Interface& subject() override { return double_; }
    Fake double_;
  };
  return {"fake", [] { return std::make_unique<FakeStage>(); }};
}

template <class Interface>
std::string nameOf(const testing::TestParamInfo<Implementation<Interface>>& info) {
  return info.param.name;
}

}  // namespace tevanto::test
