#pragma once

#include "Jp2Walk.h"
#include "OpjImage.h"
#include "TiffWriting.h"
#include "XRSFile2JP2.h"

/// How a JPEG 2000 file is written.
struct Jp2Choice {
  int reversible = 1;
  std::string rates = {};
  int numLayers = 0;
  int useThreads = 0;
};

/// A dataset of bands in memory, and the JPEG 2000 file that it is saved to.
class Jp2Writing : public TiffWriting {
 protected:
  std::string Out(const std::string& name = "a.jp2") const { return folder_.Path(name); }
  int SaveWindow(int x0, int x1, int y0, int y1, const Jp2Choice& how = {}, XThread* thread = nullptr) {
    writer_.SetXRSFile(file_.get());
    err_ = kUntouched;
    return writer_.Save(Out(), x0, x1, y0, y1, err_, how.reversible, how.rates, how.numLayers, how.useThreads, thread);
  }
  int SaveImage(const Jp2Choice& how = {}, XThread* thread = nullptr) {
    const ZRMBand& first = *file_->GetBandAt(0);
    return SaveWindow(0, first.GetXSize() - 1, 0, first.GetYSize() - 1, how, thread);
  }
  /// The save fails with the sentence and leaves nothing behind.
  void ExpectRefusal(const std::string& sentence, const Jp2Choice& how = {}) {
    EXPECT_EQ(0, SaveImage(how));
    EXPECT_EQ(sentence, Error());
    EXPECT_TRUE(std::filesystem::is_empty(folder_.Path()));
  }
  /// The one band of a new dataset, which lies in a system with that code, or in none for 0.
  LoggedBand& AddInSystem(int epsg) {
    NewDataset();
    LoggedBand& band = Add<std::uint8_t>(40, 30);
    if (epsg) band.GetSR()->importFromEPSG(epsg);
    band.SetCoordinateKind(kCoordinateWorld);
    return band;
  }
  /// What GDAL reads of the file, which it has nothing against.
  GdalImage ReadByGdal() const {
    const GdalImage image(Out());
    EXPECT_TRUE(image.isOpen);
    EXPECT_THAT(image.complaints, testing::IsEmpty());
    return image;
  }
  /// What OpenJPEG reads of the file, which nobody has anything against.
  OpjImage Decode(const OpjRequest& request = {}) const {
    const std::vector<unsigned char> bytes = ReadBytes(Out());
    EXPECT_THAT(Jp2Walk(bytes).complaints, testing::IsEmpty());
    OpjImage image = DecodeByOpj(bytes, request);
    EXPECT_TRUE(image.isOpen);
    EXPECT_THAT(image.complaints, testing::IsEmpty());
    return image;
  }
  /// The samples of a component in the type that the band had.
  template <class Sample>
  static std::vector<Sample> SamplesOfType(const OpjImage& image, std::size_t component) {
    const std::vector<int>& samples = image.components.at(component).samples;
    return {samples.begin(), samples.end()};
  }

  XRSFile2JP2 writer_;
};

/// A picture with soft forms and some noise, which compresses as pictures do.
template <class Sample>
std::vector<Sample> PictureSamples(int width, int height, unsigned seed = 1) {
  const std::vector<std::uint8_t> noise = RandomSamples<std::uint8_t>(width, height, seed);
  std::vector<Sample> samples;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const int soft = (x * 3 + y * 2 + x * y / 64) % 200 + static_cast<int>(seed);
      samples.push_back(static_cast<Sample>(soft + noise[static_cast<std::size_t>(y * width + x)] % 16));
    }
  }
  return samples;
}
