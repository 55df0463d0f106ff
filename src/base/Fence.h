#pragma once

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

}  // namespace zrk
