#pragma once

#include "ZRMBand.h"

#include <concepts>
#include <cstddef>
#include <memory>

class ZRMBandXLD;

/// The frame of all bands that read their pixels on demand from the source file.
///
/// One band object stands for one channel. The first band of a file is the master: it owns the file, the decoder and
/// the per-thread results. Each further channel is a follower, which keeps a pointer to the master and must not outlive
/// it. One read of the master decodes all channels of a window in place of those of the window before. The followers
/// then take their channels without touching the file. Most bands ask the level-data band first, if there is one, and
/// read the source if that band declines.
class ZRKIO_API ZRMBandDRIO : public ZRMBand {
  X_DECLARE_RUNTIME_CLASS
  ZRMBandDRIO();
  ~ZRMBandDRIO() override;

  /// As `ZRMBand::CalcStatistics`; every class says how it gets them.
  int CalcStatistics(int withHistogram) override = 0;
  /// As `XBand::CleanupMemory`; every class says what it frees.
  int CleanupMemory(int freeBuffers, int force) override = 0;

  /// The level-data band, or null; it belongs to this band.
  ZRMBandXLD* GetBandXLD() const { return bandXLD_; }
  /// Takes the band over and destroys an earlier one; null removes it. This frame does not know the class of level
  /// bands, so include `ZRMBandXLD.h` where you call it.
  template <std::derived_from<ZRMBandXLD> LevelBand>
  void SetBandXLD(LevelBand* bandXLD) {
    HoldLevelData(bandXLD, bandXLD);
  }
  /// Destroys the level-data band; reads of all levels go to the source then. No other thread may read meanwhile.
  void SetBandXLD(std::nullptr_t) { HoldLevelData(nullptr, nullptr); }

 protected:
  /// Asks the level-data band for the window; 0 without such a band, and where it declines.
  int ReadFromLevelData(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) const;

 private:
  /// The same band twice: as what is destroyed and read, and as what `GetBandXLD` answers.
  void HoldLevelData(ZRMBand* levelData, ZRMBandXLD* bandXLD);

  std::unique_ptr<ZRMBand> levelData_;
  ZRMBandXLD* bandXLD_ = nullptr;
};
