#include "base/PixelStorage.h"

#include <new>

namespace zrk {

namespace {

/// A cache line, and as much as any vector instruction asks for.
constexpr std::align_val_t kAlignment{64};

}  // namespace

void PixelStorage::Release::operator()(unsigned char* bytes) const {
  ::operator delete(bytes, kAlignment);
}

/// The new memory is taken before the old goes, so that a request that fails changes nothing. Samples are not carried
/// over, since the contents are undefined after a request.
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
