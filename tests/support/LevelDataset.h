#pragma once

#include "MemoryBand.h"
#include "XRSFile.h"
#include "XThread.h"

#include <cstdint>
#include <memory>
#include <random>
#include <vector>

/// A band over memory that can have level data.
using DirectMemoryBand = MemoryBandOf<ZRMBandDRIO>;

/// Any samples, the same in every run.
template <class Sample>
std::vector<Sample> RandomSamples(int width, int height, unsigned seed = 1) {
  std::mt19937_64 random(seed);
  std::vector<Sample> samples(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  for (Sample& sample : samples) {
    if constexpr (std::is_integral_v<Sample>) {
      sample = static_cast<Sample>(random());
    } else {
      sample = static_cast<Sample>(std::uniform_real_distribution<double>(-1e4, 1e5)(random));
    }
  }
  return samples;
}

/// Adds a band of small tiles to a dataset, so that it has levels.
template <class Sample>
DirectMemoryBand& AddDirectBand(XRSFile& file, int width, int height, const std::vector<Sample>& samples,
                                int tile = 16) {
  auto band = std::make_unique<DirectMemoryBand>();
  band->SetSamples(width, height, samples);
  band->SetTileSize(tile, tile);
  band->SetBandName("Channel 1");
  DirectMemoryBand& added = *band;
  file.AddBand(band.release());
  return added;
}

/// Remembers the percentages that an operation posts, and asks it to stop after some.
class PercentKeeper : public XMessageTarget {
 public:
  explicit PercentKeeper(int stopAfter = -1) : stopAfter_(stopAfter) {}
  void PostMessage(unsigned, XThread* sender, long value) override {
    percents.push_back(value);
    if (static_cast<int>(percents.size()) == stopAfter_) sender->SetState(XThread::kStateStop);
  }
  std::vector<long> percents;

 private:
  int stopAfter_;
};
