#pragma once

#include "MemoryBand.h"
#include "TempFolder.h"
#include "XReadPolicy.h"
#include "XThread.h"
#include "ZRMCompManager.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

/// A manager over bands in memory that lie in a map: UTM zone 32, the upper left corner at (500000, 5300000), pixels of
/// 10 m.
class MapScene : public testing::Test {
 protected:
  static constexpr double kLeft = 500000.0;
  static constexpr double kTop = 5300000.0;
  static constexpr double kPixel = 10.0;

  template <class Sample, class Value>
  void Fill(MemoryBand& band, int width, int height, const Value& value) {
    std::vector<Sample> samples;
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) samples.push_back(static_cast<Sample>(value(x, y)));
    }
    band.SetSamples(width, height, samples);
    band.SetUpperLeft(kLeft, kTop);
    band.SetPixelSize(kPixel, kPixel);
    band.SetCoordinateKind(kCoordinateWorld);
    band.GetSR()->importFromEPSG(32632);
  }
  /// Composites keep the place that a band has when it is set.
  void Show(std::initializer_list<ZRMBand*> bands) {
    auto* const composite = new ZRMComposite;
    int index = 0;
    for (ZRMBand* band : bands) composite->SetBand(index++, band);
    manager_.AddZRMComposite(composite);
  }
  /// Bytes that tell their column, their row, and their sum.
  void ShowColours(int width, int height) {
    Fill<std::uint8_t>(bands_[0], width, height, [](int x, int) { return x; });
    Fill<std::uint8_t>(bands_[1], width, height, [](int, int y) { return y; });
    Fill<std::uint8_t>(bands_[2], width, height, [](int x, int y) { return x + y; });
    Show({&bands_[0], &bands_[1], &bands_[2]});
  }
  void ShowHeights(int width, int height) {
    Fill<std::int16_t>(bands_[0], width, height, [](int x, int y) { return x + 100 * y; });
    Show({&bands_[0]});
  }

  std::string Out(const std::string& name = "out.l0") const { return folder_.Path(name); }
  bool HasFile(const std::string& name) const { return std::filesystem::exists(folder_.Path(name)); }

  TempFolder folder_;
  MemoryBand bands_[3];
  ZRMCompManager manager_;
  XString err_ = "untouched";
};

/// Sets the default policy for its own lifetime.
struct DefaultPolicy {
  explicit DefaultPolicy(XReadPolicy policy) : before(XfnGetDefaultReadPolicy()) { XfnSetDefaultReadPolicy(policy); }
  ~DefaultPolicy() { XfnSetDefaultReadPolicy(before); }
  const XReadPolicy before;
};

/// Keeps what a thread posts, and asks it to stop at the n-th post.
struct Posts : XMessageTarget {
  void PostMessage(unsigned, XThread* sender, long value) override {
    values.push_back(value);
    if (static_cast<int>(values.size()) == stopAt) sender->SetState(XThread::kStateStop);
  }
  std::vector<long> values;
  int stopAt = -1;
};
