#pragma once

#include "base/BlockGrid.h"
#include "base/Disk.h"
#include "codec/NitfHeader.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace zrk {

/// The blocks of an image of one band that are coded as JPEG, each as a file of its own one behind the other. For many
/// threads at once.
class NitfJpeg {
 public:
  /// For the first image of a file.
  NitfJpeg(std::shared_ptr<DiskFile> file, const NitfSegment& segment, const NitfImage& image);
  /// Whether an image is one that may be read here, where its blocks are asked for by this grid.
  static bool Suits(const NitfImage& image, const BlockGrid& grid);

  /// Decodes block `number`, counted row by row, which has the size of the image's blocks. False where it is to be read
  /// in another way, because it is damaged or is not found; what `out` holds is undefined then, and no reason is noted.
  bool ReadBlock(std::int64_t number, unsigned char* out);

 private:
  void FindBlocks();

  std::shared_ptr<DiskFile> file_;
  NitfSegment segment_;
  int blockWidth_, blockHeight_;
  std::int64_t numBlocks_;
  std::once_flag isSearched_;
  std::vector<std::int64_t>
      ends_;  // where each block begins, and where the last one ends; empty where that is not known
};

}  // namespace zrk
