#pragma once

#include <fcntl.h>
#include <sys/socket.h>

#include <csignal>

namespace tevanto::test {

// Bare sockets for tests on every system: no child inherits them, and sending to a peer that is gone is an
// error, no signal.

#ifdef MSG_NOSIGNAL
inline constexpr int kNoSignal = MSG_NOSIGNAL;
#else
inline const int kNoSignal = (std::signal(SIGPIPE, SIG_IGN), 0);
#endif

#ifdef SOCK_CLOEXEC
inline int openSocket(int family, int type = SOCK_STREAM) { return ::socket(family, type | SOCK_CLOEXEC, 0); }
inline int acceptSocket(int listener) { return ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC); }
#else
inline int uninherited(int descriptor) {
  if (descriptor >= 0) ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
  return descriptor;
}
inline int openSocket(int family, int type = SOCK_STREAM) { return uninherited(::socket(family, type, 0)); }
inline int acceptSocket(int listener) { return uninherited(::accept(listener, nullptr, nullptr)); }
#endif

}  // namespace tevanto::test
