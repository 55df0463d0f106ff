#include "XLimits.h"

#include <mutex>

namespace {

/// The record is copied whole under a lock, so that no reader ever sees half of one setting and half of another.
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
