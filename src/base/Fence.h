#pragma once

#include "XString.h"

#include <new>

namespace zrk {

/// Runs a read, from which nothing may be thrown: memory that runs out on the way is a failure like others.
template <class Read>
int FencedRead(Read&& read) noexcept {
  try {
    return read();
  } catch (const std::bad_alloc&) {
    return 0;
  }
}

/// Runs a load, a save or their like, and turns memory that ran out on the way into a result.
template <class Work>
int Fenced(XString& err, Work&& work) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    err = "Out of memory";
    return 0;
  }
}

}  // namespace zrk
