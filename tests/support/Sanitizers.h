#pragma once

// The functions by which the sanitizers start. A program has the ones of the sanitizer that it is linked with. It is
// asked while it runs, because tests that were compiled once are linked with the library's sanitized objects as well.
extern "C" {
[[gnu::weak]] void __asan_init();
[[gnu::weak]] void __tsan_init();
}

/// True where the library runs under the address or the thread sanitizer, which take time and memory of their own and
/// end the program where memory runs out.
inline bool IsSanitized() {
  return &__asan_init != nullptr || &__tsan_init != nullptr;
}
