#pragma once

#include "base/NewFile.h"
#include "writers/OutputPath.h"

#include <cstdint>
#include <span>

class XRSFile;

namespace zrk {

/// The JPEG 2000 file of one save, which gets its name only when it is whole. For one thread at a time.
class NewJp2 {
 public:
  /// Begins the file, and leaves room for a head of so many bytes. False where that can't be.
  bool Begin(const XRSFile& dataset, const XString& path, std::int64_t headBytes);
  /// Writes bytes behind those before.
  bool Append(std::span<const unsigned char> bytes);
  /// The length of what was appended, and of the head.
  std::int64_t GetLength() const { return offset_; }
  /// Writes the head, which makes the file an image, and gives it its name. The level file of an image that it replaces
  /// is removed.
  bool Publish(std::span<const unsigned char> head);

 private:
  bool Write(std::int64_t offset, std::span<const unsigned char> bytes);

  ReplacedImage replaced_;
  NewFile file_;
  std::int64_t headBytes_ = 0;
  std::int64_t offset_ = 0;
};

}  // namespace zrk
