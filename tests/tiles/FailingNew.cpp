// The operators of the whole test program, which take memory as ever and count the requests of a thread on demand. The
// thread sanitizer has operators of its own, which can't be replaced, and no suite about threads asks for these.

#ifndef __SANITIZE_THREAD__

#include "FailingNew.h"

#include <cstdlib>
#include <new>

namespace {

thread_local int requestsLeft = 0;  // before one fails; 0 where none does
thread_local bool hasFailedHere = false;

void* Take(std::size_t size) noexcept {
  if (requestsLeft > 0 && --requestsLeft == 0) {
    hasFailedHere = true;
    return nullptr;
  }
  return std::malloc(size > 0 ? size : 1);
}

void* TakeOrThrow(std::size_t size) {
  if (void* const memory = Take(size)) return memory;
  throw std::bad_alloc();
}

}  // namespace

FailingNew::FailingNew(int nth) {
  hasFailedHere = false;
  requestsLeft = nth;
}

FailingNew::~FailingNew() {
  requestsLeft = 0;
}

bool FailingNew::HasFailed() const {
  return hasFailedHere;
}

void* operator new(std::size_t size) {
  return TakeOrThrow(size);
}
void* operator new[](std::size_t size) {
  return TakeOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return Take(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return Take(size);
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete[](void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  std::free(memory);
}

#endif
