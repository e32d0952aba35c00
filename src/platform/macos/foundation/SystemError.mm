#include "platform/macos/foundation/SystemError.h"

#import <Foundation/Foundation.h>

#include "platform/macos/foundation/FoundationText.h"

namespace tevanto {

Failure failureOf(const std::string& what, NSError* error) {
  if (!error) return {what + "."};
  return {what + ": " + utf8Text(error.localizedDescription).value_or("") + " (" +
          utf8Text(error.domain).value_or("") + " " + std::to_string(error.code) + ")"};
}

Result<void> resultOf(const std::string& what, NSError* error) {
  if (error) return failureOf(what, error);
  return {};
}

}  // namespace tevanto
