#pragma once

#include "base/Fence.h"

namespace zrk {

/// Runs an operation of a store, out of which nothing may be thrown. False where it says so and where memory runs out.
template <class Work>
bool FencedStore(Work&& work) noexcept {
  return FencedRead([&] { return work() ? 1 : 0; }) != 0;
}

}  // namespace zrk
