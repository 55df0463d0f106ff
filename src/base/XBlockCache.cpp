#include "XBlockCache.h"

#include "base/BlockCache.h"

void XfnSetBlockCacheBytes(std::int64_t numBytes) {
  zrk::BlockCache::OfProcess().Grant(numBytes);
}

std::int64_t XfnGetBlockCacheBytes() {
  return zrk::BlockCache::OfProcess().GetGranted();
}
