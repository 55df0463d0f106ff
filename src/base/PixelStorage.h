#pragma once

#include "XExport.h"

#include <cstddef>
#include <memory>

namespace zrk {

/// Bytes for samples, aligned to 64, that grow and are never copied. The contents after `Reserve` are undefined.
class ZRKIO_API PixelStorage {
 public:
  /// Keeps what it has where that is enough. False, with nothing changed, where memory ran out.
  bool Reserve(std::size_t bytes);
  void Free();
  unsigned char* Get() const;

 private:
  struct ZRKIO_API Release {
    void operator()(unsigned char* taken) const;
  };
  std::unique_ptr<unsigned char, Release> taken_;
  std::size_t capacity_ = 0;
};

}  // namespace zrk
