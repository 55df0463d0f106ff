#pragma once

#include "ReferenceTiff.h"
#include "TempFolder.h"
#include "ZRMBandGTIFF.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

/// The master of a TIFF file and its followers.
class TiffChannels {
 public:
  explicit TiffChannels(const std::string& path, XReadPolicy policy = kReadCompatible) : master_(nullptr) {
    master_.SetReadPolicy(policy);
    isOpen_ = master_.ReadFile(path, err_, nullptr) == 1;
    for (int c = 1; isOpen_ && c < master_.GetNumChannels(); ++c) {
      followers_.push_back(std::make_unique<ZRMBandGTIFF>(&master_));
      followers_.back()->SetChannel(c);
    }
  }

  bool IsOpen() const { return isOpen_; }
  std::string GetError() const { return err_.AsStdString(); }
  int GetNumChannels() const { return master_.GetNumChannels(); }
  ZRMBandGTIFF& GetMaster() { return master_; }
  ZRMBandGTIFF& At(int c) { return c == 0 ? master_ : *followers_.at(static_cast<std::size_t>(c - 1)); }

  /// The samples of a window, at most 8 bytes of each; empty where the read fails.
  ReferenceTiff::Samples Read(int c, int level, int x0, int x1, int y0, int y1) {
    tagXArr2* out = nullptr;
    if (!At(c).ReadSubset(out, level, x0, x1, y0, y1, nullptr)) return {};
    EXPECT_EQ((x1 - x0 + 1) >> level, out->xSize);
    EXPECT_EQ((y1 - y0 + 1) >> level, out->ySize);
    ReferenceTiff::Samples samples(static_cast<std::size_t>(out->xSize) * static_cast<std::size_t>(out->ySize));
    const auto size = static_cast<std::size_t>(out->elementSize);
    for (std::size_t i = 0; i < samples.size(); ++i) {
      std::memcpy(&samples[i], out->data + i * size, std::min<std::size_t>(size, 8));
    }
    return samples;
  }
  ReferenceTiff::Samples ReadAll(int c) { return Read(c, 0, 0, master_.GetXSize() - 1, 0, master_.GetYSize() - 1); }

 private:
  ZRMBandGTIFF master_;
  std::vector<std::unique_ptr<ZRMBandGTIFF>> followers_;
  XString err_;
  bool isOpen_ = false;
};

/// For tests that read TIFF files.
class TiffFiles : public testing::Test {
 protected:
  std::string Write(const TiffBuilder::Bytes& bytes) const {
    folder_.Write("a.tif", bytes);
    return folder_.Path("a.tif");
  }
  std::string Write(const TiffBuilder& file) const { return Write(file.Build()); }

  /// A file with a compression is written by libtiff.
  static TiffBuilder::Bytes BytesOf(const TiffBuilder& file) {
    return file.GetCompression() == 1 ? file.Build() : file.Encode();
  }
  /// Every sample of every channel is as the builder made it.
  void ExpectSamples(const TiffBuilder& file, int dataType, const std::string& what = "") {
    TiffChannels image(Write(BytesOf(file)));
    ASSERT_TRUE(image.IsOpen()) << what << ' ' << image.GetError();
    EXPECT_EQ(dataType, image.GetMaster().GetDataType()) << what;
    ASSERT_EQ(file.GetSamples(), image.GetNumChannels()) << what;
    const int right = file.GetWidth() - 1, bottom = file.GetHeight() - 1;
    for (int c = 0; c < image.GetNumChannels(); ++c) {
      const ReferenceTiff reference(file, c);
      EXPECT_EQ(reference.Read(0, 0, right, 0, bottom), image.ReadAll(c)) << what << " channel " << c;
      EXPECT_EQ(reference.Read(0, 3, right - 2, 5, 5), image.Read(c, 0, 3, right - 2, 5, 5)) << what << " row " << c;
    }
  }

  TempFolder folder_;
};
