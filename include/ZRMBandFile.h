#pragma once

#include "ZRMBandDRIO.h"

#include <memory>

/// The frame of the bands that decode a file. All that these bands do alike stands here once. A band class adds how it
/// opens its file and how it decodes a window.
///
/// `Base` is `ZRMBandDRIO` for bands that can have level data, and `ZRMBand` for those that never do; there are no
/// other instances. A band keeps results for each thread. So several threads may read one band at once, and each gets a
/// buffer of its own.
template <class Base>
class ZRKIO_API ZRMBandFile : public Base {
 public:
  ~ZRMBandFile() override;

  using Base::GetHighestLevelForTarget;
  using Base::ReadSubset;

  /// The level arithmetic of `Xepot::GetHighestLevelForTarget` with the band's size, levels and tile sizes.
  int GetHighestLevelForTarget(int x0, int x1, int y0, int y1, int width, int height) override;
  /// Reads a window in these steps. A window that is not inside the band fails. The level data is asked, if the band
  /// has some and its format asks it. Then a follower takes its channel of its master's read, and a master decodes all
  /// channels. The result belongs to the band and stays until the calling thread's next read of the file. A word behind
  /// `cancel` is heard by the level data and by decoders that say so; a follower's master gets none.
  int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) override;
  /// As `ZRMBand::CalcStatistics`.
  int CalcStatistics(int withHistogram) override;
  /// Frees the calling thread's results as `XBand::CleanupMemory` tells, unless the class says that it keeps them.
  int CleanupMemory(int freeBuffers, int force) override;
  /// As `ZRMBand::CloneBand`: fields alone, nothing of file, channel or pixels.
  int CloneBand(ZRMBand* source) override;

 protected:
  /// What a band class hides: its decoder and the state of its file.
  class Frame;

  explicit ZRMBandFile(std::unique_ptr<Frame> frame);
  Frame& GetFrame() const { return *frame_; }
  /// Data type 1 with a range from 0 to 255.
  void SetByteRange();

 private:
  std::unique_ptr<Frame> frame_;
};

extern template class ZRMBandFile<ZRMBand>;
extern template class ZRMBandFile<ZRMBandDRIO>;
