#pragma once

#include "LevelDataset.h"
#include "LoggedBand.h"
#include "TempFolder.h"
#include "WrittenTiff.h"
#include "XDataType.h"
#include "XRSFile2Tiff.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

/// The part of an image that lies in a window.
template <class Sample>
std::vector<Sample> CutWindow(const std::vector<Sample>& samples, int width, int x0, int x1, int y0, int y1) {
  std::vector<Sample> part;
  for (int y = y0; y <= y1; ++y) {
    for (int x = x0; x <= x1; ++x) part.push_back(samples[static_cast<std::size_t>(y * width + x)]);
  }
  return part;
}

template <class Sample>
std::vector<unsigned char> BytesOf(const std::vector<Sample>& samples) {
  std::vector<unsigned char> bytes(samples.size() * sizeof(Sample));
  std::memcpy(bytes.data(), samples.data(), bytes.size());
  return bytes;
}

/// The writer with its steps in the open.
class SteppedWriter : public XRSFile2Tiff {
 public:
  using XRSFile2Tiff::CheckBandInfo;
  using XRSFile2Tiff::DeleteFileOutput;
  using XRSFile2Tiff::DoExportToBIP;
  using XRSFile2Tiff::DoExportToBSQ;
  using XRSFile2Tiff::DoExportToBSQ_ImageSharpen;
  using XRSFile2Tiff::DoExportToPalette;
  using XRSFile2Tiff::IsDiskSpaceEnough2;
  using XRSFile2Tiff::OpenOutputFile;
  using XRSFile2Tiff::SaveGeoTIFFTag;
  using XRSFile2Tiff::SaveTIFFTag;
  using XRSFile2Tiff::WriteWorldFile;
};

/// A dataset of bands in memory, and the TIFF file that it is saved to.
class TiffWriting : public testing::Test {
 protected:
  static constexpr const char* kUntouched = "as it was";

  std::string Path(const std::string& name = "a.tif") const { return folder_.Path(name); }
  void NewDataset() { file_ = std::make_unique<XRSFile>(); }
  template <class Band = LoggedBand, class Sample>
  Band& AddSamples(int width, int height, const std::vector<Sample>& samples) {
    auto band = std::make_unique<Band>();
    band->SetSamples(width, height, samples);
    Band& added = *band;
    file_->AddBand(band.release());
    return added;
  }
  template <class Sample, class Band = LoggedBand>
  Band& Add(int width, int height, unsigned seed = 1) {
    return AddSamples<Band>(width, height, RandomSamples<Sample>(width, height, seed));
  }
  /// A band of any data type, whose samples are any bytes.
  LoggedBand& AddOfType(int dataType, int width, int height) {
    LoggedBand& band = Add<std::uint8_t>(width * std::max(XfnGetDataSize(dataType), 1), height);
    band.SetSize(width, height);
    band.SetDataType(dataType);
    return band;
  }

  int SaveTo(const std::string& path, int x0, int x1, int y0, int y1, XThread* thread = nullptr) {
    XRSFile2Tiff writer;
    writer.SetXRSFile(file_.get());
    err_ = kUntouched;
    return writer.Save(path, x0, x1, y0, y1, err_, thread);
  }
  int Save(int x0, int x1, int y0, int y1, XThread* thread = nullptr) { return SaveTo(Path(), x0, x1, y0, y1, thread); }
  int SaveAll(XThread* thread = nullptr) {
    const ZRMBand& first = *file_->GetBandAt(0);
    return Save(0, first.GetXSize() - 1, 0, first.GetYSize() - 1, thread);
  }
  std::string Error() const { return err_.AsStdString(); }
  /// The save fails with the sentence and leaves nothing behind.
  void ExpectFailure(const std::string& sentence, XThread* thread = nullptr) {
    EXPECT_EQ(0, SaveAll(thread));
    EXPECT_EQ(sentence, Error());
    EXPECT_TRUE(std::filesystem::is_empty(folder_.Path()));
  }

  TempFolder folder_;
  std::unique_ptr<XRSFile> file_ = std::make_unique<XRSFile>();
  XString err_;
};
