#pragma once

#include <string>

namespace tevanto::test {

/// The programs that were built, which the tests start.
inline const std::string kProgram = TEVANTO_PROGRAM;
inline const std::string kPhone = TEVANTO_PHONE;
#ifdef TEVANTO_RELAY
inline const std::string kRelay = TEVANTO_RELAY;
#endif

}  // namespace tevanto::test
