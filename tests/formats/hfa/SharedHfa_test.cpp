// The shared HFA files: overviews and classes beside those of GDAL. Pixels, types and places are compared by the
// conformance suite.

#include "GdalOverview.h"
#include "Samples.h"
#include "TempFolder.h"
#include "XRSFileIO.h"
#include "ZRMBandHFA.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

/// Compares each level that is an overview with GDAL's reading of it; answers how many there are.
int CompareOverviews(XRSFile& file, const std::string& path) {
  auto& band = static_cast<ZRMBandHFA&>(*file.GetBandAt(0));
  int count = 0;
  for (const int level : band.GetOverviewLevels()) {
    const Pixels ours = ReadPixels(band, level, WholeWindowOf(band));
    for (int i = 0; i < band.GetNumOverviews(); ++i) {
      const GdalOverview theirs(path, i);
      if (theirs.width != ours.width) continue;
      EXPECT_EQ(theirs.bytes, ours.bytes) << path << ", level " << level;
      ++count;
    }
  }
  return count;
}

/// Compares the classes with GDAL's colours; answers how many there are.
int CompareClasses(XRSFile& file, const std::string& path) {
  const CPLErrorHandlerPusher quiet(CPLQuietErrorHandler);
  const char* const drivers[] = {"HFA", nullptr};
  GDALDataset* const dataset = GDALDataset::Open(path.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY, drivers);
  const GDALColorTable* const table = dataset->GetRasterBand(1)->GetColorTable();
  const ZRMBand& band = *file.GetBandAt(0);
  for (int i = 0; i < band.GetNumOfGIS(); ++i) {
    const GDALColorEntry& entry = *table->GetColorEntry(i);
    const tagXRSGIS& gis = *band.GetGISAt(i);
    EXPECT_EQ((std::array{entry.c1, entry.c2, entry.c3}), (std::array<short, 3>{gis.red, gis.green, gis.blue})) << path;
  }
  GDALClose(dataset);
  return band.GetNumOfGIS();
}

}  // namespace

TEST(SharedHfa, HasTheOverviewsAndClassesOfGdal) {
  const std::filesystem::path folder = std::filesystem::path(SharedDataDir()) / "hfa";
  if (!std::filesystem::exists(folder)) GTEST_SKIP() << "no files at " << folder;
  int numOverviews = 0, numClasses = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().extension() != ".img") continue;
    XRSFile file;
    XString err;
    file.SetReadPolicy(kReadExact);
    ASSERT_TRUE(XRSFileIO::LoadFileHFA(&file, entry.path().string(), err, 0, kLevelNone, nullptr)) << err.AsStdString();
    numOverviews += CompareOverviews(file, entry.path().string());
    numClasses += CompareClasses(file, entry.path().string());
  }
  EXPECT_GT(numOverviews, 2);
  EXPECT_GT(numClasses, 2);
}
