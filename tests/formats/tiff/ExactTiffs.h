#pragma once

#include "TiffChannels.h"
#include "XReadPolicy.h"

/// For tests of exact reads of TIFF files.
class ExactTiffs : public TiffFiles {
 protected:
  /// The pixels of exact reads: sample i of a row is that at x0 + i * 2^level, as if the image were one block.
  static ReferenceTiff ReferenceOf(const TiffBuilder& file, int sample) {
    ReferenceTiff reference(file, sample);
    reference.blockWidth = reference.width;
    reference.blockHeight = reference.height;
    return reference;
  }
  /// The same with a value in place of one block.
  static ReferenceTiff WithoutBlock(const TiffBuilder& file, int sample, int block, std::uint64_t missing) {
    ReferenceTiff reference = ReferenceOf(file, sample);
    const int width = file.GetBlockWidth(), height = file.GetBlockHeight();
    const int across = (file.GetWidth() + width - 1) / width;
    reference.value = [=](int x, int y) {
      return y / height * across + x / width == block ? missing : file.ValueAt(x, y, sample);
    };
    return reference;
  }
  static ReferenceTiff::Samples All(const ReferenceTiff& reference) {
    return reference.Read(0, 0, reference.width - 1, 0, reference.height - 1);
  }
  /// The reason of the last read that failed.
  static std::string GetReason() {
    XString reason;
    return XfnGetLastReadError(reason) ? reason.AsStdString() : std::string();
  }
  /// The read fails with a sentence that begins so.
  static void ExpectFailure(TiffChannels& image, int c, int x0, int x1, int y0, int y1, const std::string& reason) {
    EXPECT_TRUE(image.Read(c, 0, x0, x1, y0, y1).empty());
    EXPECT_EQ(reason, GetReason().substr(0, reason.size()));
  }
};
