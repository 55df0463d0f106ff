#include "base/OwnReads.h"

namespace zrk {
namespace {

thread_local int numOwnReads = 0;

}  // namespace

OwnReads::OwnReads() noexcept {
  ++numOwnReads;
}

OwnReads::~OwnReads() {
  --numOwnReads;
}

bool OwnReads::AreUnderWay() noexcept {
  return numOwnReads > 0;
}

}  // namespace zrk
