#include "XLimits.h"

#include <mutex>

namespace zrk {

namespace {

std::mutex mutex;
Limits limits;

}  // namespace

Limits GetLimits() {
  const std::lock_guard lock(mutex);
  return limits;
}

void SetLimits(const Limits& wanted) {
  const std::lock_guard lock(mutex);
  limits = wanted;
}

}  // namespace zrk
