#include "XLimits.h"

#include <mutex>

namespace {

std::mutex mutex;
tagXLimits inForce;

}  // namespace

tagXLimits XfnGetLimits() {
  const std::lock_guard lock(mutex);
  return inForce;
}

void XfnSetLimits(const tagXLimits& limits) {
  const std::lock_guard lock(mutex);
  inForce = limits;
}
