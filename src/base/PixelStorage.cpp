#include "base/PixelStorage.h"

#include <new>

namespace zrk {

namespace {

constexpr std::align_val_t kAlignment{64};

}  // namespace

void PixelStorage::Release::operator()(unsigned char* bytes) const {
  ::operator delete(bytes, kAlignment);
}

bool PixelStorage::Reserve(std::size_t bytes) {
  if (bytes_ && bytes <= capacity_) return true;
  auto* fresh = static_cast<unsigned char*>(::operator new(bytes, kAlignment, std::nothrow));
  if (!fresh) return false;
  bytes_.reset(fresh);
  capacity_ = bytes;
  return true;
}

void PixelStorage::Free() {
  bytes_.reset();
  capacity_ = 0;
}

}  // namespace zrk
