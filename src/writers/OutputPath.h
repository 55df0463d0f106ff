#pragma once

#include "XString.h"

#include <cstdint>

class XRSFile;

namespace zrk {

/// Whether a new file may take this name. The name must not lead to the file that the dataset came from, because that
/// file must survive a save that fails. It must not lead to a protected file, a folder or a device either.
bool MayReplace(const XRSFile& dataset, const XString& path);

/// The image that a new file will take the place of, if there is one. Its level file goes when it does.
class ReplacedImage {
 public:
  ReplacedImage() = default;
  /// For before the new file is begun.
  explicit ReplacedImage(const XString& path);
  /// For when the new file has its name. A level file that can't be removed stays. Throws std::bad_alloc.
  void RemoveLevelFile() const;

 private:
  XString path_;
  std::int64_t length_ = 0;
};

}  // namespace zrk
