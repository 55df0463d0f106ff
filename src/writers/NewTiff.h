#pragma once

#include "base/NewFile.h"
#include "codec/TiffOutput.h"
#include "writers/OutputPath.h"

#include <memory>

namespace zrk {

struct TiffJob;

/// The TIFF file of one save, which gets its name only when it is whole.
class NewTiff {
 public:
  /// Begins the file; null where that can't be.
  static std::unique_ptr<NewTiff> Begin(const TiffJob& job);

  TiffOutput& Output() { return *output_; }
  /// Gives the file its name; false where it is not whole, or can't be brought to the medium. The level file of an
  /// image that it replaces is removed.
  bool Publish();

 private:
  ReplacedImage replaced_;
  NewFile file_;
  std::unique_ptr<TiffOutput> output_;  // writes to the file
};

}  // namespace zrk
