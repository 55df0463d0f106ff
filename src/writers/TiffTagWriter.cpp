#include "writers/TiffTagWriter.h"

#include "geo/GeoKeyHandle.h"
#include "writers/TiffJob.h"
#include "XGeoKeys.h"
#include "XRSFile.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include <geotiffio.h>
#include <xtiffio.h>

namespace zrk {
namespace {

int GetSampleFormat(int dataType) {
  switch (dataType) {
    case kSint08:
    case kSint16:
    case kSint32:
      return SAMPLEFORMAT_INT;
    case kReal32:
    case kReal64:
      return SAMPLEFORMAT_IEEEFP;
    default:
      return SAMPLEFORMAT_UINT;
  }
}

/// Class 0 is black, and the record of class i stands at i - 1.
bool SetColourMap(TIFF* tiff, const ZRMBand& band) {
  constexpr int kNumClasses = 256, kFullScale = 257;
  std::array<std::uint16_t, kNumClasses> red{}, green{}, blue{};
  for (std::size_t i = 1; i < kNumClasses; ++i) {
    const tagXRSGIS* record = band.GetGISAt(static_cast<int>(i) - 1);
    if (!record) continue;
    red[i] = static_cast<std::uint16_t>(record->red * kFullScale);
    green[i] = static_cast<std::uint16_t>(record->green * kFullScale);
    blue[i] = static_cast<std::uint16_t>(record->blue * kFullScale);
  }
  return TIFFSetField(tiff, TIFFTAG_COLORMAP, red.data(), green.data(), blue.data()) != 0;
}

/// One sample is what the photometric tag speaks of. Readers want to be told that the others are further ones.
bool SetExtraSamples(TIFF* tiff, int numExtra) {
  const std::vector<std::uint16_t> unspecified(static_cast<std::size_t>(numExtra), EXTRASAMPLE_UNSPECIFIED);
  return numExtra == 0 || TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, numExtra, unspecified.data()) != 0;
}

}  // namespace

bool SetImageTags(TIFF* tiff, const TiffJob& job) {
  const bool isPalette = job.IsPalette(), isPlain = isPalette || job.IsColour();
  const int photometric = isPalette ? PHOTOMETRIC_PALETTE : isPlain ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
  const std::pair<ttag_t, int> tags[] = {
      {TIFFTAG_IMAGEWIDTH, job.window.Width()},
      {TIFFTAG_IMAGELENGTH, job.window.Height()},
      {TIFFTAG_ROWSPERSTRIP, kRowsPerStrip},
      {TIFFTAG_COMPRESSION, COMPRESSION_NONE},
      {TIFFTAG_PLANARCONFIG, isPlain ? PLANARCONFIG_CONTIG : PLANARCONFIG_SEPARATE},
      {TIFFTAG_PHOTOMETRIC, photometric},
      {TIFFTAG_BITSPERSAMPLE, isPlain ? 8 : 8 * job.SampleBytes()},
      {TIFFTAG_SAMPLEFORMAT, isPlain ? SAMPLEFORMAT_UINT : GetSampleFormat(job.dataType)},
      {TIFFTAG_SAMPLESPERPIXEL, job.numBands},
  };
  const auto set = [tiff](const auto& tag) { return TIFFSetField(tiff, tag.first, tag.second) != 0; };
  if (!std::ranges::all_of(tags, set)) return false;
  if (isPalette) return SetColourMap(tiff, *job.FirstBand());
  return isPlain || SetExtraSamples(tiff, job.numBands - 1);
}

bool SetGeoTags(TIFF* tiff, const TiffJob& job) {
  const XSpatialReference* system = job.dataset ? job.dataset->GetSR() : nullptr;
  if (!system || system->IsEmpty()) return false;
  const GeoKeys keys(GTIFNew(tiff));
  if (!keys) return false;
  const double tiePoint[] = {0.0, 0.0, 0.0, job.worldLeft, job.worldTop, 0.0};
  const double scale[] = {job.xPixelSize, job.yPixelSize, 0.0};
  TIFFSetField(tiff, TIFFTAG_GEOTIEPOINTS, 6, tiePoint);
  TIFFSetField(tiff, TIFFTAG_GEOPIXELSCALE, 3, scale);
  XString wkt;
  if (!system->exportToWkt(wkt) || wkt.IsEmpty()) return false;
  XfnGTIFSetFromOGISDefn(keys.get(), wkt);
  GTIFKeySet(keys.get(), GTRasterTypeGeoKey, TYPE_SHORT, 1, RasterPixelIsArea);
  return GTIFWriteKeys(keys.get()) != 0;
}

}  // namespace zrk
