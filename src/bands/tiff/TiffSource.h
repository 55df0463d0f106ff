#pragma once

#include "bands/tiff/TiffLayout.h"
#include "base/BlockCache.h"
#include "base/RowReader.h"
#include "codec/TiffHandle.h"
#include "XString.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace zrk {

/// An open file as all decoders of it see it. It never changes. Its blocks leave the cache when the last of them goes.
struct TiffSource {
  XString name;
  std::shared_ptr<RowFile> file;
  std::shared_ptr<TiffMessages> messages;
  std::uint64_t directory = 0;  ///< the offset of the image's directory; 0 for the first one
  TiffLayout layout;
  std::vector<std::uint16_t> extraSamples;  ///< the kinds of the last samples of a pixel
  TiffGrid grid;
  std::int64_t blockBytes = 0;  ///< of a decoded block, as libtiff packs it
  std::int64_t rowBytes = 0;    ///< of a row of a block, unless libtiff makes colours of it
  BlockFile blocks;             ///< that are decoded and kept
  bool isPlain = false;         ///< blocks lie in the file as they are decoded, but perhaps for the order of bytes

  int BlocksPerPlane() const { return grid.across * grid.down; }
  /// Samples that lie together in a block.
  int SamplesTogether() const { return layout.tags.IsPlanar() ? 1 : layout.tags.samplesPerPixel; }
  /// Whether pixels have several samples of whole bytes, packed without gaps.
  bool HasWholeSamples() const;
  /// The block of a place in the grid, in the plane of a sample.
  int BlockAt(int blockX, int blockY, int sample) const {
    return grid.across * blockY + blockX + (layout.tags.IsPlanar() ? BlocksPerPlane() * sample : 0);
  }
  /// Bytes of a block that are in the file: those of the rows within the image.
  std::int64_t BytesInFile(int block) const;
};

/// Finds how the file's blocks are to be read. False with the reason in `err` where they can't be read.
bool MeasureTiffBlocks(TIFF* tiff, TiffSource& source, XString& err);

/// Has libtiff turn JPEG in YCbCr into red, green and blue.
void AskForRgb(TIFF* tiff, const TiffTags& tags);

}  // namespace zrk
