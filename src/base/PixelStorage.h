#pragma once

#include "XExport.h"

#include <cstddef>
#include <memory>

namespace zrk {

/// Gives memory of a `PixelStorage` back to where it came from.
struct ZRKIO_API PixelRelease {
  std::size_t blockBytes = 0;  ///< of a large block; 0 for memory of the allocator
  void operator()(unsigned char* taken) const;
};

/// Bytes for samples, aligned to 64, that grow and are never copied. The contents after `Reserve` are undefined. Large
/// ones come from `LargeBlocks.h`.
class ZRKIO_API PixelStorage {
 public:
  /// Keeps what it has where that is enough. False, with nothing changed, where memory ran out.
  bool Reserve(std::size_t bytes);
  void Free();
  unsigned char* Get() const;

 private:
  using Taken = std::unique_ptr<unsigned char, PixelRelease>;

  static Taken Take(std::size_t bytes);

  Taken taken_;
  std::size_t capacity_ = 0;
};

}  // namespace zrk
