#pragma once

#ifdef __APPLE__
#include <libproc.h>
#include <malloc/malloc.h>
#include <sys/resource.h>
#include <unistd.h>
#else
#include <malloc.h>
#endif

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace tevanto::test {

/// Descriptors that this process has open.
inline std::ptrdiff_t openDescriptors() {
  const std::filesystem::directory_iterator all("/dev/fd");
  return std::distance(begin(all), end(all));
}

#ifdef __APPLE__

inline proc_taskinfo ownTask() {
  proc_taskinfo info{};
  ::proc_pidinfo(::getpid(), PROC_PIDTASKINFO, 0, &info, sizeof info);
  return info;
}

inline std::ptrdiff_t threadCount() { return ownTask().pti_threadnum; }
inline std::size_t residentBytes() { return ownTask().pti_resident_size; }
/// The most that was resident at once since the process began.
inline std::size_t peakResidentBytes() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  return static_cast<std::size_t>(usage.ru_maxrss);  // bytes on this system
}
/// Bytes that are allocated on the heap.
inline std::size_t heapBytes() {
  malloc_statistics_t all{};
  ::malloc_zone_statistics(nullptr, &all);
  return all.size_in_use;
}

#else

inline std::ptrdiff_t threadCount() {
  const std::filesystem::directory_iterator all("/proc/self/task");
  return std::distance(begin(all), end(all));
}

/// A line of /proc/self/status that holds a size, in bytes.
inline std::size_t statusBytes(const std::string& name) {
  std::ifstream file("/proc/self/status");
  for (std::string line; std::getline(file, line);) {
    if (line.rfind(name + ":", 0) == 0) return std::stoul(line.substr(name.size() + 1)) * 1024;
  }
  return 0;
}

inline std::size_t residentBytes() { return statusBytes("VmRSS"); }
/// The most that was resident at once since the process began or `resetPeak`.
inline std::size_t peakResidentBytes() { return statusBytes("VmHWM"); }
inline void resetPeak() { std::ofstream("/proc/self/clear_refs") << "5"; }

/// Bytes that are allocated on the heap; 0 where a sanitizer keeps its own heap.
inline std::size_t heapBytes() {
  const auto info = ::mallinfo2();
  return info.uordblks + info.hblkhd;
}

#endif

// g++ says by a macro which sanitizer it builds with, clang by a feature.
#ifdef __has_feature
#define TEVANTO_HAS_FEATURE(name) __has_feature(name)
#else
#define TEVANTO_HAS_FEATURE(name) 0
#endif

/// The kernel counts resident pages of each thread apart and adds them up now and then: it may be this far
/// off.
inline constexpr std::size_t kResidentSlack = 1024 * 1024;
/// What a byte of the program costs when it is resident: ThreadSanitizer keeps shadow memory beside it.
#if defined(__SANITIZE_THREAD__) || TEVANTO_HAS_FEATURE(thread_sanitizer)
inline constexpr std::size_t kResidentFactor = 5;
#else
inline constexpr std::size_t kResidentFactor = 1;
#endif

/// What AddressSanitizer keeps of the memory that was freed, to see who still uses it: up to 256 MiB, an
/// eighth of that as shadow, and what it rounds up.
#if defined(__SANITIZE_ADDRESS__) || TEVANTO_HAS_FEATURE(address_sanitizer)
inline constexpr std::size_t kQuarantineBytes = 320 * 1024 * 1024;
#else
inline constexpr std::size_t kQuarantineBytes = 0;
#endif

}  // namespace tevanto::test
