#pragma once

#include "XString.h"

#include <exception>
#include <new>

namespace zrk {

/// Runs a read, from which nothing may be thrown: memory that runs out on the way is a failure like others, and so is
/// whatever a band of the caller's own throws.
template <class Read>
int FencedRead(Read&& read) noexcept {
  try {
    return read();
  } catch (...) {
    return 0;
  }
}

/// Runs a load, a save or their like, and turns what is thrown on the way into a result, as memory that ran out.
template <class Work>
int Fenced(XString& err, Work&& work) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    err = "Out of memory";
  } catch (const std::exception& error) {
    err = error.what();
  } catch (...) {
    err = "A band or a target of the caller has thrown";
  }
  return 0;
}

}  // namespace zrk
