#pragma once

#include "Samples.h"
#include "TempFolder.h"
#include "XReadPolicy.h"
#include "XRSFileIO.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

/// A file that is made of bytes and loaded, by the exact policy unless told otherwise. Suites about one format derive
/// from it.
class LoadedRaster {
 public:
  LoadedRaster(const std::vector<unsigned char>& bytes, int formatId, XReadPolicy policy = kReadExact) {
    folder_.Write("image", bytes);
    file_.SetReadPolicy(policy);
    isOpen_ = XRSFileIO::LoadFileRaster(&file_, formatId, folder_.Path("image"), err_, 0, kLevelNone, nullptr);
  }
  bool IsOpen() const { return isOpen_ != 0; }
  /// Why it could not be loaded.
  std::string Reason() const { return err_.AsStdString(); }
  XRSFile& File() { return file_; }
  int CountBands() const { return file_.GetNumOfBands(); }
  ZRMBand& Band(int c = 0) { return *file_.GetBandAt(c); }

  /// As `ReadPixels` of a band.
  Pixels Read(int c, int level, const Window& window) { return ReadPixels(Band(c), level, window); }
  /// The samples of the first band; none where the read fails.
  template <class Sample>
  std::vector<Sample> ReadSamples(int level, const Window& window) {
    const Pixels pixels = Read(0, level, window);
    EXPECT_EQ(static_cast<int>(sizeof(Sample)), Band().GetDataSize());
    std::vector<Sample> samples(pixels.bytes.size() / sizeof(Sample));
    if (!samples.empty()) std::memcpy(samples.data(), pixels.bytes.data(), pixels.bytes.size());
    return samples;
  }
  /// The sentence of a read of the first band that fails; empty where it succeeds.
  std::string Failure(int level, const Window& window) {
    if (!Read(0, level, window).bytes.empty()) return {};
    XString reason;
    return XfnGetLastReadError(reason) ? reason.AsStdString() : "no reason";
  }
  std::string Failure(const Window& window) { return Failure(0, window); }

 private:
  TempFolder folder_;
  XRSFile file_;
  XString err_;
  int isOpen_ = 0;
};
