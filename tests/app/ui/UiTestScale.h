#pragma once

namespace tevanto::test {

/// The scale at which the whole test program draws, such as "1.5". Each program defines its own.
extern const char kUiTestScale[];

}  // namespace tevanto::test
