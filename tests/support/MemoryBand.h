#pragma once

#include "base/DataTypeVisit.h"
#include "XThreadSafeArr.h"
#include "ZRMBandDRIO.h"
#include "ZRMBandXLD.h"

#include <atomic>
#include <cstring>
#include <type_traits>
#include <utility>
#include <vector>

/// A band over samples in memory that keeps the reading contract: windows checked, levels by decimation, one buffer a
/// thread, the level-data band first where the base is `ZRMBandDRIO`. It counts what is asked of it.
template <class Base>
class MemoryBandOf : public Base {
 public:
  using Base::Base;

  /// Row by row; sets size and data type too.
  template <class Sample>
  void SetSamples(int width, int height, const std::vector<Sample>& samples) {
    this->SetSize(width, height);
    this->SetDataType(zrk::kDataTypeOf<Sample>);
    bytes_.resize(samples.size() * sizeof(Sample));
    std::memcpy(bytes_.data(), samples.data(), bytes_.size());
  }
  /// The sample at (x, y) is x + 100 * y.
  template <class Sample>
  void SetRamp(int width, int height) {
    std::vector<Sample> samples;
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) samples.push_back(static_cast<Sample>(x + 100 * y));
    }
    SetSamples(width, height, samples);
  }

  int GetNumReads() const { return numReads_; }
  int GetNumCleanups() const { return numCleanups_; }
  /// How often its buffers were freed by force.
  int GetNumFreed() const { return numFreed_; }
  /// Claims to be stored in tiles, so that it may be read some columns at a time.
  void ClaimTiles() { this->SetDecodeColumns(this->GetXTileSize()); }
  /// From now on every read fails.
  void FailReads() { isFailing_ = true; }

  using Base::ReadSubset;
  int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) override {
    ++numReads_;
    if (isFailing_ || !this->IsLevel(level) || !this->IsInside(x0, x1, y0, y1)) return 0;
    if constexpr (std::is_base_of_v<ZRMBandDRIO, Base>) {
      if (this->ReadFromLevelData(out, level, x0, x1, y0, y1, cancel)) return 1;
    }
    const int width = (x1 - x0 + 1) >> level;
    const int height = (y1 - y0 + 1) >> level;
    const int size = this->GetDataSize();
    tagXArr2* result = results_.GetBuffer(width, height, size);
    if (!result) return 0;
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        const int place = (y0 + (y << level)) * this->GetXSize() + x0 + (x << level);
        std::memcpy(result->Row(y) + x * size, &bytes_[static_cast<std::size_t>(place * size)],
                    static_cast<std::size_t>(size));
      }
    }
    out = result;
    this->CleanupMemory(0, 0);
    return 1;
  }
  int CalcStatistics(int withHistogram) override { return ZRMBand::CalcStatistics(withHistogram); }
  int CleanupMemory(int freeBuffers, int force) override {
    ++numCleanups_;
    if (freeBuffers && force) {
      ++numFreed_;
      results_.FreeCurrentThreadsBuffer();
    }
    return 1;
  }

 private:
  std::vector<unsigned char> bytes_;
  XThreadSafeArr2 results_;
  std::atomic<int> numReads_{0};
  std::atomic<int> numCleanups_{0};
  std::atomic<int> numFreed_{0};
  bool isFailing_ = false;
};

using MemoryBand = MemoryBandOf<ZRMBand>;

/// A copy of a buffer's samples.
template <class Sample>
std::vector<Sample> SamplesOf(const tagXArr2& buffer) {
  std::vector<Sample> samples(static_cast<std::size_t>(buffer.xSize) * static_cast<std::size_t>(buffer.ySize));
  std::memcpy(samples.data(), buffer.data, samples.size() * sizeof(Sample));
  return samples;
}
