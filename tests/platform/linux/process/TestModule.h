#pragma once

#include <string>
#include <utility>

namespace tevanto::test {

/// An interface whose implementation lies in the module of these tests.
class Greeting {
 public:
  virtual ~Greeting() = default;
  virtual std::string text() const = 0;
};

/// Tells whether an object was copied on its way into the module.
struct GreetingName {
  std::string text;
  int copies = 0;

  explicit GreetingName(std::string name) : text(std::move(name)) {}
  GreetingName(const GreetingName& other) : text(other.text), copies(other.copies + 1) {}
};

}  // namespace tevanto::test
