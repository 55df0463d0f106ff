#include "SavedTiff.h"

#include "Oracle.h"
#include "Samples.h"
#include "XDataType.h"
#include "XRSFileIO.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <memory>
#include <sstream>

namespace {

/// What stands in the file for each data type: complex samples are written as plain numbers of their size, and GDAL
/// knows none of 128 bits.
int StoredTypeOf(int dataType) {
  constexpr int kGdalTypes[] = {0, 1, 1, 2, 3, 4, 5, 6, 7, 0, 0, 0, 4, 0, 12, 12, 0};
  return kGdalTypes[dataType];
}

/// libtiff's own programs don't know these five.
bool IsAboutGeoTiff(const std::string& line) {
  for (const char* tag : {"33550", "33922", "34735", "34736", "34737"}) {
    if (line.find(std::string("Unknown field with tag ").append(tag)) != std::string::npos) return true;
  }
  return false;
}

void ExpectPlace(const StoredImage& image, XRSFile& source, SystemCheck check) {
  if (source.GetSR()->IsEmpty()) {
    EXPECT_FALSE(image.isPlaced);
    EXPECT_EQ("", image.wkt);
    return;
  }
  const ZRMBand& band = *source.GetBandAt(0);
  EXPECT_TRUE(image.isPlaced);
  std::array<double, 6> wanted = {band.GetULX(), band.GetXPixelSize(), 0, band.GetULY(), 0, -band.GetYPixelSize()};
  // What was read exactly is saved by the corner of its first pixel, whatever place its format gives.
  if (band.IsExact()) band.GetGeoTransform(wanted.data());
  for (std::size_t i = 0; i < wanted.size(); ++i) EXPECT_DOUBLE_EQ(wanted[i], image.transform[i]) << i;
  XString wkt;
  EXPECT_TRUE(source.GetSR()->exportToWkt(wkt));
  EXPECT_EQ(check == SystemCheck::kWhole, AreSameSystems(wkt.AsStdString(), image.wkt)) << wkt.AsStdString() << "\n"
                                                                                        << image.wkt;
  EXPECT_EQ(source.GetSR()->GetEPSG(), image.epsg);
}

}  // namespace

std::string SaveAll(XRSFile& file, const std::string& path) {
  const Window whole = WholeWindowOf(*file.GetBandAt(0));
  XString err;
  if (XRSFileIO::SaveFileTiff(&file, path, whole.x0, whole.x1, whole.y0, whole.y1, err, nullptr)) return "";
  return err.IsEmpty() ? "refused without a word" : err.AsStdString();
}

std::vector<WrittenBand> ReadBands(XRSFile& file) {
  std::vector<WrittenBand> bands;
  for (int i = 0; i < file.GetNumOfBands(); ++i) {
    ZRMBand& band = *file.GetBandAt(i);
    bands.push_back({StoredTypeOf(band.GetDataType()), ReadPixels(band, 0, WholeWindowOf(band)).bytes});
  }
  return bands;
}

void ExpectGdalReads(const std::string& path, const std::vector<WrittenBand>& bands, XRSFile& source,
                     SystemCheck check) {
  const StoredImage image = ReadStoredWithGdal(path);
  ASSERT_TRUE(image.isOpen);
  for (const std::string& complaint : image.complaints) ADD_FAILURE() << complaint;
  const Window whole = WholeWindowOf(*source.GetBandAt(0));
  EXPECT_EQ(whole.Width(), image.width);
  EXPECT_EQ(whole.Height(), image.height);
  ASSERT_EQ(bands.size(), image.planes.size());
  for (std::size_t i = 0; i < bands.size(); ++i) {
    EXPECT_EQ(bands[i].gdalType, image.planes[i].dataType) << "band " << i;
    EXPECT_TRUE(bands[i].bytes == image.planes[i].bytes) << "band " << i;
  }
  ExpectPlace(image, source, check);
}

std::string AskProgram(const std::string& program, const std::vector<std::string>& paths) {
  std::string command = program;
  for (const std::string& path : paths) command.append(" '").append(path).append("'");
  std::FILE* const pipe = ::popen((command + " 2>&1 >/dev/null").c_str(), "r");
  if (!pipe) return "no pipe";
  std::string text, said;
  char buffer[4096];
  for (std::size_t got; (got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) text.append(buffer, got);
  if (const int status = ::pclose(pipe)) said = program + " failed: " + std::to_string(status) + "\n";
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (!IsAboutGeoTiff(line)) said.append(line).append("\n");
  }
  return said;
}
