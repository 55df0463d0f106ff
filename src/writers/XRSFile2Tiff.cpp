// What a save does around the pixels: the checks, the file and its tags, the place in the world.

#include "XRSFile2Tiff.h"

#include "base/Checked.h"
#include "base/Fence.h"
#include "codec/TiffOutput.h"
#include "core/native/BandBodies.h"
#include "writers/OutputPath.h"
#include "writers/TiffSentences.h"
#include "XFile.h"
#include "XGeoKeys.h"
#include "XRSFile.h"
#include "XSystem.h"
#include "XWorldFile.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include <geotiffio.h>
#include <xtiffio.h>

using zrk::FailWith;

namespace {

constexpr const char* kSharpenClass = "ZRMBandImageSharpen";

constexpr int kRowsPerStrip = 32;

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

/// What the band contradicts of the reference, or null.
const char* FindContradiction(const ZRMBand& reference, const ZRMBand& band) {
  const int kind = reference.GetCoordinateKind();
  if (kind == kCoordinateWorld || kind == kReferenceKnown) {
    if (!reference.GetSR()->IsSame(*band.GetSR())) return "Inconsistant Projection System Information";
    if (reference.GetXPixelSize() != band.GetXPixelSize()) return "Inconsistant X Pixel Size Information";
    if (reference.GetYPixelSize() != band.GetYPixelSize()) return "Inconsistant Y Pixel Size Information";
    if (reference.GetULX() != band.GetULX()) return "Inconsistant Upper Left X Information";
    if (reference.GetULY() != band.GetULY()) return "Inconsistant Upper Left Y Information";
  }
  if (reference.GetXSize() != band.GetXSize()) return "Inconsistant Image Width Information";
  if (reference.GetYSize() != band.GetYSize()) return "Inconsistant Image Height Information";
  if (reference.GetDataType() != band.GetDataType()) return "Inconsistant Datatype Information";
  return nullptr;
}

/// The handle of the geokeys of a file that is written.
struct GeoKeysFree {
  void operator()(gtiff* gtif) const { GTIFFree(gtif); }
};
using GeoKeys = std::unique_ptr<gtiff, GeoKeysFree>;

}  // namespace

XRSFile2Tiff::XRSFile2Tiff() = default;
XRSFile2Tiff::~XRSFile2Tiff() = default;

void XRSFile2Tiff::SetXRSFile(XRSFile* file) {
  if (!file) return;
  file_ = file;
  numBands_ = file->GetNumOfBands();
  xPixelSize_ = file->GetXPixelSize();
  yPixelSize_ = file->GetYPixelSize();
  const ZRMBand* first = file->GetBandAt(0);
  dataType_ = first ? first->GetDataType() : 0;
}

int XRSFile2Tiff::Save(XString path, int x0, int x1, int y0, int y1, XString& err, XThread* thread) {
  if (path.IsEmpty() || !file_) return 0;
  const ZRMBand* first = file_->GetBandAt(0);
  if (!first) return FailWith(err, zrk::kNoBandFound);
  if (XString(first->GetRuntimeClass()->className) == kSharpenClass) {
    return SaveZRMBandImageSharpen(path, x0, x1, y0, y1, err, thread);
  }
  return SaveZRMBandGeneral(path, x0, x1, y0, y1, err, thread);
}

int XRSFile2Tiff::SaveZRMBandGeneral(XString path, int x0, int x1, int y0, int y1, XString& err, XThread* thread) {
  return zrk::Fenced(err, [&] { return SaveWindow(path, x0, x1, y0, y1, false, err, thread); });
}

int XRSFile2Tiff::SaveZRMBandImageSharpen(XString path, int x0, int x1, int y0, int y1, XString& err, XThread* thread) {
  return zrk::Fenced(err, [&] { return SaveWindow(path, x0, x1, y0, y1, true, err, thread); });
}

int XRSFile2Tiff::SaveWindow(const XString& path, int x0, int x1, int y0, int y1, bool isSharpened, XString& err,
                             XThread* thread) {
  const ZRMBand* first = file_ ? file_->GetBandAt(0) : nullptr;
  if (!first) return 0;
  const bool isWindow = zrk::IsWindowOf(*first, {x0, x1, y0, y1});
  if (!isWindow) x0 = x1 = y0 = y1 = 0;  // for the checks that come before a read of it fails
  path_ = path;
  x0_ = x0;
  y0_ = y0;
  width_ = x1 - x0 + 1;
  height_ = y1 - y0 + 1;
  worldLeft_ = x0;
  worldTop_ = y0;
  first->ConvPixelToWorldCoord(worldLeft_, worldTop_);
  if (!IsDiskSpaceEnough2(err) || !CheckBandInfo(err)) return 0;
  if (!isWindow) return FailWith(err, zrk::kReadFailed);
  if (numBands_ > UINT16_MAX) return FailWith(err, zrk::kWriteFailed);
  if (!OpenOutputFile(path, err)) return 0;
  const int isSaved = zrk::Fenced(err, [&] { return SaveTagsAndPixels(isSharpened, err, thread); });
  DeleteFileOutput();
  if (!isSaved) {
    XFile::Remove(path);
    return 0;
  }
  constexpr int kExtension = 3;
  const XString worldFile = path.Left(path.GetLength() - kExtension) + "tfw";
  if (!(worldFile == path)) WriteWorldFile(worldFile, err);
  return 1;
}

int XRSFile2Tiff::SaveTagsAndPixels(bool isSharpened, XString& err, XThread* thread) {
  if (!SaveTIFFTag(err)) return 0;
  SaveGeoTIFFTag(err);
  std::uint16_t planarConfiguration = 0;
  TIFFGetField(tiff_->Get(), TIFFTAG_PLANARCONFIG, &planarConfiguration);
  if (IsPalette()) return DoExportToPalette(thread, err);
  if (planarConfiguration == PLANARCONFIG_CONTIG) return DoExportToBIP(thread, err);
  return isSharpened ? DoExportToBSQ_ImageSharpen(thread, err) : DoExportToBSQ(thread, err);
}

bool XRSFile2Tiff::IsPalette() const {
  return numBands_ == 1 && file_->GetBandAt(0)->GetBandType() == kBandTypeThematic;
}

int XRSFile2Tiff::IsDiskSpaceEnough2(XString& err) {
  const ZRMBand* first = file_ ? file_->GetBandAt(0) : nullptr;
  if (!first) return 0;
  // By the type of band and not of data: a rough figure.
  const auto row = zrk::CheckedMultiply(std::int64_t{XfnGetDataSize(first->GetBandType())} * numBands_, width_);
  const auto bytes = row ? zrk::CheckedMultiply(*row, height_) : std::nullopt;
  if (!bytes || !XfnIsDiskSpaceEnough(path_, *bytes)) return FailWith(err, zrk::kDiskFull);
  return 1;
}

int XRSFile2Tiff::CheckBandInfo(XString& err) {
  const ZRMBand* reference = nullptr;
  for (int i = 0; i < numBands_; ++i) {
    const ZRMBand* band = file_->GetBandAt(i);
    const char* const contradiction = band && reference ? FindContradiction(*reference, *band) : nullptr;
    if (contradiction) return FailWith(err, contradiction);
    if (!reference) reference = band;
  }
  return reference != nullptr;
}

int XRSFile2Tiff::OpenOutputFile(XString path, XString&) {
  DeleteFileOutput();
  const std::int64_t pixelBytes = IsPalette() ? 1 : std::int64_t{GetSampleBytes()} * numBands_;
  const auto samples = zrk::CheckedMultiply(std::int64_t{width_} * height_, pixelBytes);
  const int rowsPerStrip = std::min(kRowsPerStrip, GetBlockHeight());
  const std::int64_t numStrips = ((height_ - 1) / rowsPerStrip + std::int64_t{1}) * numBands_;
  const bool isBig = !samples || zrk::NeedsBigTiff(*samples, numStrips, numBands_);
  if (zrk::MakeWay(*file_, path)) tiff_ = zrk::TiffOutput::Create(path, isBig);
  return tiff_ != nullptr;
}

void XRSFile2Tiff::DeleteFileOutput() {
  tiff_.reset();
}

int XRSFile2Tiff::SaveTIFFTag(XString& err) {
  if (!tiff_) return 0;
  TIFF* const tiff = tiff_->Get();
  const bool isColour = numBands_ == 3 && dataType_ == kPint08, isPlain = IsPalette() || isColour;
  const int photometric = IsPalette() ? PHOTOMETRIC_PALETTE : isColour ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
  const std::pair<ttag_t, int> tags[] = {
      {TIFFTAG_IMAGEWIDTH, width_},
      {TIFFTAG_IMAGELENGTH, height_},
      {TIFFTAG_ROWSPERSTRIP, kRowsPerStrip},
      {TIFFTAG_COMPRESSION, COMPRESSION_NONE},
      {TIFFTAG_PLANARCONFIG, isPlain ? PLANARCONFIG_CONTIG : PLANARCONFIG_SEPARATE},
      {TIFFTAG_PHOTOMETRIC, photometric},
      {TIFFTAG_BITSPERSAMPLE, isPlain ? 8 : 8 * GetSampleBytes()},
      {TIFFTAG_SAMPLEFORMAT, isPlain ? SAMPLEFORMAT_UINT : GetSampleFormat(dataType_)},
      {TIFFTAG_SAMPLESPERPIXEL, numBands_},
  };
  const auto set = [tiff](const auto& tag) { return TIFFSetField(tiff, tag.first, tag.second) != 0; };
  bool isSet = std::ranges::all_of(tags, set);
  if (isSet && IsPalette()) isSet = SetColourMap();
  if (isSet && !isPlain && numBands_ > 1) {
    // One sample is what the photometric tag speaks of. Readers want to be told that the others are further ones.
    const std::vector<std::uint16_t> unspecified(static_cast<std::size_t>(numBands_ - 1), EXTRASAMPLE_UNSPECIFIED);
    isSet = TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, numBands_ - 1, unspecified.data()) != 0;
  }
  return isSet ? 1 : FailWith(err, zrk::kWriteFailed);
}

/// Class 0 is black, and the record of class i stands at i - 1.
bool XRSFile2Tiff::SetColourMap() {
  constexpr int kNumClasses = 256, kFullScale = 257;
  std::array<std::uint16_t, kNumClasses> red{}, green{}, blue{};
  for (std::size_t i = 1; i < kNumClasses; ++i) {
    const tagXRSGIS* record = file_->GetBandAt(0)->GetGISAt(static_cast<int>(i) - 1);
    if (!record) continue;
    red[i] = static_cast<std::uint16_t>(record->red * kFullScale);
    green[i] = static_cast<std::uint16_t>(record->green * kFullScale);
    blue[i] = static_cast<std::uint16_t>(record->blue * kFullScale);
  }
  return TIFFSetField(tiff_->Get(), TIFFTAG_COLORMAP, red.data(), green.data(), blue.data()) != 0;
}

int XRSFile2Tiff::SaveGeoTIFFTag(XString&) {
  const XSpatialReference* system = file_ ? file_->GetSR() : nullptr;
  if (!tiff_ || !system || system->IsEmpty()) return 0;
  const GeoKeys keys(GTIFNew(tiff_->Get()));
  if (!keys) return 0;
  const double tiePoint[] = {0.0, 0.0, 0.0, worldLeft_, worldTop_, 0.0}, scale[] = {xPixelSize_, yPixelSize_, 0.0};
  TIFFSetField(tiff_->Get(), TIFFTAG_GEOTIEPOINTS, 6, tiePoint);
  TIFFSetField(tiff_->Get(), TIFFTAG_GEOPIXELSCALE, 3, scale);
  XString wkt;
  if (!system->exportToWkt(wkt) || wkt.IsEmpty()) return 0;
  XfnGTIFSetFromOGISDefn(keys.get(), wkt);
  GTIFKeySet(keys.get(), GTRasterTypeGeoKey, TYPE_SHORT, 1, RasterPixelIsArea);
  return GTIFWriteKeys(keys.get());
}

int XRSFile2Tiff::WriteWorldFile(XString path, XString&) {
  const XSpatialReference* system = file_ ? file_->GetSR() : nullptr;
  if (!system || system->IsEmpty()) return 0;
  // The corner is that of the whole image, also for a window of it.
  const ZRMBand& first = *file_->GetBandAt(0);
  return XWorldFile::Write(path, file_->GetXPixelSize(), file_->GetYPixelSize(), first.GetULX(), first.GetULY());
}
