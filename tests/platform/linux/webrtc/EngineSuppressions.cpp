// What ThreadSanitizer takes for races because it does not see the engine's own atomic reference counts: the
// library is compiled without its marks. Only functions of the engine that count references stand here, so
// that our own code stays watched.

#if defined(__SANITIZE_THREAD__)
#define TEVANTO_UNDER_THREAD_SANITIZER
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define TEVANTO_UNDER_THREAD_SANITIZER
#endif
#endif

#ifdef TEVANTO_UNDER_THREAD_SANITIZER
extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() {
  return
      // A buffer that one thread has read and let go of is reused, or freed, by another.
      "race:^rtc::CopyOnWriteBuffer::Clear\n"
      "race:^rtc::CopyOnWriteBuffer::UnshareAndEnsureCapacity\n"
      "race:rtc::CopyOnWriteBuffer::AppendData\n"
      // The flag behind weak pointers goes with the last of them.
      "race:^rtc::internal::WeakReferenceOwner::GetRef\n";
}
#endif
