// The band puts together what the other sources of this folder do: images of levels, the document, the sensor that it
// tells, the ground, and places by both. A load goes through them in this order, and each step needs the one before.
//
// A question about places takes no lock and changes nothing. What a thread keeps of the terrain belongs to the terrain.

#include "ZRMBandHawk.h"

#include "bands/hawk/HawkLevels.h"
#include "bands/hawk/HawkModel.h"
#include "bands/hawk/HawkRecord.h"
#include "bands/hawk/HawkResources.h"
#include "base/Fence.h"
#include "base/Parallel.h"
#include "base/ReadError.h"
#include "Xepot.h"
#include "XFile.h"
#include "XLimits.h"
#include "XMessageBox.h"
#include "XPath.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <string>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandHawk, ZRMBandDRIO);

namespace {

constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();
constexpr int kMaxOrder = 30;

/// Modes of level data, as callers know them by number.
constexpr int kImagesOfLevels = 1, kOneImage = 2;

constexpr const char* kNoModel = "The band has no sensor model";

/// The caller's arrays.
struct Points {
  double* x;
  double* y;
  double* heights;  ///< may be null

  void Forget(std::int64_t i) const {
    x[i] = kNoNumber;
    y[i] = kNoNumber;
    if (heights) heights[i] = kNoNumber;
  }
};

bool ReadDocument(const XString& path, std::string& text, XString& err) {
  XFile file;
  if (!file.Open(path, XFile::kRead | XFile::kShareDenyNone)) {
    err = "Can't open file : " + path;
    return false;
  }
  const std::int64_t length = file.GetLength();
  if (length < 0 || length > XfnGetLimits().xmlBytes) {
    err = "The document is too long";
    return false;
  }
  text.resize(static_cast<std::size_t>(length));
  if (file.ReadAt(0, text.data(), length) == length) return true;
  err = "Can't read file : " + path;
  return false;
}

}  // namespace

struct ZRMBandHawk::Impl {
  zrk::HawkLevels levels;
  zrk::HawkDocument document;
  bool isSound = false;  ///< the document tells a sensor
  std::unique_ptr<const zrk::HawkSensor> sensor;
  zrk::HawkTerrain terrain;
  int createXLDOption = kImagesOfLevels;

  zrk::HawkModel MakeModel(bool isExact) const {
    return {*sensor, terrain, isExact, document.imageLines, document.imageSamples};
  }
  void ForgetSensor() {
    isSound = false;
    sensor.reset();
    document.grids = {};
    document.gridCount = 0;
  }
  int TakeDocument(const XString& path, bool isExact, XString& err);

  /// Asks the model once; its sentence becomes the reason of the failure.
  template <class Ask>
  int AskModel(bool isExact, const Ask& ask) const {
    return zrk::ReadPixels([&] {
      if (!sensor) return zrk::FailRead(kNoModel);
      zrk::HawkModel model = MakeModel(isExact);
      const char* const reason = ask(model);
      return reason ? zrk::FailRead(reason) : 1;
    });
  }
  /// Asks it for many points, which are shared between workers in chunks. `ask(model, begin, end)` answers those of a
  /// chunk, and tells how many it found; the others have become NaN.
  template <class Ask>
  std::int64_t AskForChunks(bool isExact, std::int64_t count, const Points& points, const Ask& ask) const;
  /// The same point by point: `ask(model, i)` tells whether it found one.
  template <class Ask>
  std::int64_t AskForAll(bool isExact, std::int64_t count, const Points& points, const Ask& ask) const;
};

template <class Ask>
std::int64_t ZRMBandHawk::Impl::AskForChunks(bool isExact, std::int64_t count, const Points& points,
                                             const Ask& ask) const {
  constexpr std::int64_t kLeastChunk = 2048, kMostChunks = 1 << 20;
  if (count <= 0) return 0;
  const std::int64_t chunk = std::max(kLeastChunk, (count - 1) / kMostChunks + 1);
  const int numChunks = static_cast<int>((count - 1) / chunk + 1);
  const int numWorkers = zrk::IsSharingWork() ? 1 : zrk::CountWorkers(numChunks);
  std::atomic<std::int64_t> numFound = 0;
  const auto work = [&](int index, int) {
    const std::int64_t begin = index * chunk, end = std::min(begin + chunk, count);
    const int isAsked = zrk::FencedRead([&] {
      if (!sensor) return 0;
      zrk::HawkModel model = MakeModel(isExact);
      numFound += ask(model, begin, end);
      return 1;
    });
    // Without a model, or where memory ran out.
    for (std::int64_t i = begin; !isAsked && i < end; ++i) points.Forget(i);
    return true;
  };
  zrk::FencedRead([&] { return zrk::ForEachInParallel(numWorkers, numChunks, work) ? 1 : 0; });
  return numFound;
}

template <class Ask>
std::int64_t ZRMBandHawk::Impl::AskForAll(bool isExact, std::int64_t count, const Points& points,
                                          const Ask& ask) const {
  return AskForChunks(isExact, count, points, [&](zrk::HawkModel& model, std::int64_t begin, std::int64_t end) {
    std::int64_t numHere = 0;
    for (std::int64_t i = begin; i < end; ++i) {
      if (ask(model, i)) {
        ++numHere;
      } else {
        points.Forget(i);
      }
    }
    return numHere;
  });
}

ZRMBandHawk::ZRMBandHawk() : impl_(std::make_unique<Impl>()) {
  zrk::FencedRead([this] {
    impl_->terrain = zrk::GetInstalledTerrain();
    return 1;
  });
}

ZRMBandHawk::~ZRMBandHawk() = default;

// Images

/// The sentence that each step leaves is handed on in the exact policy only, but for that of the first image.
int ZRMBandHawk::ReadFile(XString path, XString& err, XThread* thread) {
  impl_->ForgetSensor();
  XString reason;
  const int isRead = zrk::Fenced(reason, [&] {
    const zrk::HawkName name(path);
    if (!name.isImage) {
      reason = "The name is not that of an image of a scanning sensor : " + path;
      return 0;
    }
    const int hasOthers = CheckExistAnyLevelData(path, 1);
    if (!OpenImages(name.PathOfLevel(0), hasOthers != 0, err, thread)) return 0;
    if (!LoadHawkXML(name.PathOf(".XML"), reason)) return 0;
    const bool isOfImage = GetImageLines() == GetYSize() && GetImageSamples() == GetXSize();
    if (IsExact() && !isOfImage) reason = "The document tells another size than the image has";
    return isOfImage || !IsExact() ? 1 : 0;
  });
  if (!isRead) {
    if (IsExact() && !reason.IsEmpty()) err = reason;
    return 0;
  }
  CalcSplineCoeffs();
  if (!impl_->sensor) return 0;
  SetUseSensorModel(1);
  return 1;
}

/// The band takes over all fields of the first image but its name. In the exact policy no statistics are made that
/// nobody asked for.
int ZRMBandHawk::OpenImages(const XString& path, bool hasOthers, XString& err, XThread* thread) {
  const zrk::HawkName name(path);
  if (!impl_->levels.OpenFirst(name, GetReadPolicy(), err, thread)) return 0;
  ZRMBand& first = *impl_->levels.At(0);
  if (!IsExact()) first.CalcStatistics(1);
  const XString bandName = GetBandName();
  CloneBand(&first);
  SetBandName(bandName);
  SetDecodeRows(first.GetDecodeRows());
  SetDecodeColumns(first.GetDecodeColumns());
  impl_->createXLDOption = hasOthers ? kImagesOfLevels : kOneImage;
  if (hasOthers) impl_->levels.OpenOthers(name, GetReadPolicy(), thread);
  return 1;
}

int ZRMBandHawk::ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) {
  return zrk::ReadPixels([&] {
    if (!IsInside(x0, x1, y0, y1)) return zrk::FailRead(zrk::kWindowOutside);
    if (level < 0 || (IsExact() && !IsLevel(level))) return zrk::FailRead(zrk::kNoSuchLevel);
    if (level > 0 && ReadFromLevelData(out, level, x0, x1, y0, y1, cancel)) return 1;
    const zrk::ReadRequest request{level, x0, x1, y0, y1};
    const int isRead = IsExact() ? impl_->levels.ReadExactly(out, request, cancel)
                                 : impl_->levels.ReadCompatibly(out, request, cancel);
    if (isRead) CleanupMemory(0, 0);
    return isRead;
  });
}

int ZRMBandHawk::CalcStatistics(int withHistogram) {
  return ZRMBand::CalcStatistics(withHistogram);
}

int ZRMBandHawk::CleanupMemory(int freeBuffers, int force) {
  if (freeBuffers && IsMemoryWanted(force)) impl_->levels.FreeBuffers(freeBuffers, force);
  return 1;
}

int ZRMBandHawk::GetHighestLevelForTarget(int x0, int x1, int y0, int y1, int width, int height) {
  return Xepot::GetHighestLevelForTarget(GetXSize(), GetYSize(), GetLevel(), GetXTileSize(), GetYTileSize(), x0, x1, y0,
                                         y1, width, height);
}

/// In the compatible policy the folder of the path has no part in it.
int ZRMBandHawk::CheckExistAllLevelData(XString path, int except) const {
  const zrk::HawkName name(path);
  return zrk::ExistAllHawkImages(IsExact() ? name.folder : XString(), name.base, except);
}

int ZRMBandHawk::CheckExistAnyLevelData(XString path, int except) const {
  const zrk::HawkName name(path);
  return zrk::ExistsAnyHawkImage(IsExact() ? name.folder : XString(), name.base, except);
}

void ZRMBandHawk::DeleteAllLevel() {
  impl_->levels.Clear();
}

int ZRMBandHawk::GetNumOfLevelBands() const {
  return impl_->levels.Count();
}

ZRMBand* ZRMBandHawk::GetLevelBandAt(int level) const {
  return impl_->levels.At(level);
}

XString ZRMBandHawk::GetLevelRefusal() const {
  return impl_->levels.GetRefusal();
}

int ZRMBandHawk::GetNumOfBand() const {
  return 1;
}

int ZRMBandHawk::GetCreateXLDOption() const {
  return impl_->createXLDOption;
}

// The document

int ZRMBandHawk::LoadHawkXML(XString path) {
  XString unused;
  return LoadHawkXML(path, unused);
}

/// Fields that the document does not have stay as they were. Of a document that can't be used nothing stays.
int ZRMBandHawk::LoadHawkXML(XString path, XString& err) {
  const bool isExact = IsExact();
  impl_->document.originCorner = GetOriginCorner();
  impl_->isSound = false;
  impl_->sensor.reset();
  if (!zrk::Fenced(err, [&] { return impl_->TakeDocument(path, isExact, err); })) {
    impl_->ForgetSensor();
    impl_->document = {};
    SetScanSensorParam(nullptr);
    SetUseSensorModel(0);
    return 0;
  }
  SetOriginCorner(impl_->document.originCorner);
  SetFocalLength(impl_->document.focalLengthInMm);
  SetCellSize(impl_->document.detectorCellSizeInMm);
  return 1;
}

int ZRMBandHawk::Impl::TakeDocument(const XString& path, bool isExact, XString& err) {
  std::string text;
  if (!ReadDocument(path, text, err)) return 0;
  zrk::HawkDocument found = document;
  const zrk::HawkParse parse = zrk::ParseHawkDocument(text, isExact, found, err);
  if (parse == zrk::HawkParse::kNoElement) {
    XfnMessageBox("Empty document!", XfnGetFileName(path), kMessageOk | kMessageIconWarning);
  }
  if (parse != zrk::HawkParse::kDone) return 0;
  if (const XString fault = zrk::FindHawkFault(found, isExact); !fault.IsEmpty()) {
    err = fault;
    return 0;
  }
  document = std::move(found);
  isSound = true;
  return 1;
}

void ZRMBandHawk::GetOriginInEcf(double& x, double& y, double& z) const {
  x = impl_->document.originInEcf[0];
  y = impl_->document.originInEcf[1];
  z = impl_->document.originInEcf[2];
}

void ZRMBandHawk::GetRotationEcfToLsr(double rotation[9]) const {
  std::ranges::copy(impl_->document.rotationEcfToLsr, rotation);
}

int ZRMBandHawk::GetGridCount() const {
  return impl_->document.gridCount;
}

int ZRMBandHawk::GetImageLines() const {
  return impl_->document.imageLines;
}

int ZRMBandHawk::GetImageSamples() const {
  return impl_->document.imageSamples;
}

int ZRMBandHawk::GetIsIR() const {
  return impl_->document.isIR;
}

double ZRMBandHawk::GetFocalLengthInMm() const {
  return impl_->document.focalLengthInMm;
}

double ZRMBandHawk::GetDetectorCellSizeInMm() const {
  return impl_->document.detectorCellSizeInMm;
}

// The sensor model

void ZRMBandHawk::CalcSplineCoeffs() {
  if (!impl_->isSound) return;
  zrk::FencedRead([this] {
    impl_->sensor = std::make_unique<const zrk::HawkSensor>(impl_->document);
    CalcScanSensorParams(0, -1);
    return 1;
  });
}

void ZRMBandHawk::CalcScanSensorParams(int usePolynomial, int order) {
  if (!impl_->sensor || (usePolynomial && (order < 0 || order > kMaxOrder))) return;
  zrk::FencedRead([&] {
    const XRSScanSensorParam record = usePolynomial ? zrk::MakePolynomialRecord(impl_->document, *impl_->sensor, order)
                                                    : zrk::MakeSampleRecord(impl_->document, *impl_->sensor);
    SetScanSensorParam(&record);
    return 1;
  });
}

void ZRMBandHawk::ConvWarpPixelToWorldCoord(double& x, double& y) const {
  if (!impl_->sensor) return;
  if (!IsExact()) {
    zrk::FencedRead([&] {
      impl_->MakeModel(false).Warp(x, y);
      return 1;
    });
    return;
  }
  double lon = kNoNumber, lat = kNoNumber, height = 0.0;
  FindGroundOfPixel(x, y, lon, lat, height);
  x = lon;
  y = lat;
}

void ZRMBandHawk::ConvWarpWorldToPixelCoord(double& x, double& y) const {
  ConvWorldToPixelCoord(x, y);
}

double ZRMBandHawk::CalcYP2(double, double) const {
  return 0.0;
}

int ZRMBandHawk::FindGroundOfPixel(double column, double line, double& lon, double& lat, double& height) const {
  zrk::HawkModel::Place place;
  const auto find = [&](const zrk::HawkModel& model) { return model.FindGround(column, line, place); };
  if (!impl_->AskModel(IsExact(), find)) return 0;
  lon = place.lon;
  lat = place.lat;
  height = place.height;
  return 1;
}

int ZRMBandHawk::FindPixelOfGround(double lon, double lat, double& x, double& y) const {
  double column = 0.0, line = 0.0;
  const auto find = [&](zrk::HawkModel& model) { return model.FindPixel(lon, lat, column, line); };
  if (!impl_->AskModel(IsExact(), find)) return 0;
  x = column;
  y = line;
  return 1;
}

int ZRMBandHawk::FindPixelOfPoint(double lon, double lat, double height, double& x, double& y) const {
  double column = 0.0, line = 0.0;
  const auto find = [&](zrk::HawkModel& model) { return model.FindPixelAt({lon, lat, height}, column, line); };
  if (!impl_->AskModel(IsExact(), find)) return 0;
  x = column;
  y = line;
  return 1;
}

/// The ground is there without a sensor as well.
int ZRMBandHawk::GetGroundHeight(double lon, double lat, double& height) const {
  return zrk::ReadPixels([&] {
    const zrk::HawkGround ground(impl_->terrain);
    if (!IsExact()) {
      height = ground.GetCompatibleHeight(lon, lat);
      return 1;
    }
    const char* const reason = ground.FindExactHeight(lon, lat, height);
    return reason ? zrk::FailRead(reason) : 1;
  });
}

std::int64_t ZRMBandHawk::FindGroundOfPixels(std::int64_t count, double* x, double* y, double* heights) const {
  return impl_->AskForAll(IsExact(), count, {x, y, heights}, [=](const zrk::HawkModel& model, std::int64_t i) {
    zrk::HawkModel::Place place;
    if (model.FindGround(x[i], y[i], place)) return false;
    x[i] = place.lon;
    y[i] = place.lat;
    if (heights) heights[i] = place.height;
    return true;
  });
}

std::int64_t ZRMBandHawk::FindPixelsOfGround(std::int64_t count, double* x, double* y) const {
  return impl_->AskForAll(IsExact(), count, {x, y, nullptr}, [=](zrk::HawkModel& model, std::int64_t i) {
    double column = 0.0, line = 0.0;
    if (model.FindPixel(x[i], y[i], column, line)) return false;
    x[i] = column;
    y[i] = line;
    return true;
  });
}

// The face of sensor models

/// A single pixel leaves the reason of a failure, as people ask for one.
int ZRMBandHawk::LocatePixels(const double* x, const double* y, int count, double* lon, double* lat,
                              double* height) const {
  if (count == 1) {
    *lon = *lat = *height = kNoNumber;
    return FindGroundOfPixel(*x, *y, *lon, *lat, *height);
  }
  if (count <= 0) return 0;
  std::copy_n(x, count, lon);
  std::copy_n(y, count, lat);
  return static_cast<int>(FindGroundOfPixels(count, lon, lat, height));
}

int ZRMBandHawk::FindPixels(const double* lon, const double* lat, const double* height, int count, double* x,
                            double* y) const {
  if (count == 1) {
    *x = *y = kNoNumber;
    return FindPixelOfPoint(*lon, *lat, *height, *x, *y);
  }
  const auto find = [=](zrk::HawkModel& model, std::int64_t i) {
    return model.FindPixelAt({lon[i], lat[i], height[i]}, x[i], y[i]) == nullptr;
  };
  return static_cast<int>(impl_->AskForAll(IsExact(), count, {x, y, nullptr}, find));
}

int ZRMBandHawk::FindHeights(const double* lon, const double* lat, int count, double* height) const {
  if (count == 1) {
    *height = kNoNumber;
    return GetGroundHeight(*lon, *lat, *height);
  }
  const auto find = [=](const zrk::HawkModel& model, std::int64_t begin, std::int64_t end) {
    model.FindHeights(lon + begin, lat + begin, static_cast<int>(end - begin), height + begin);
    return std::count_if(height + begin, height + end, [](double each) { return !std::isnan(each); });
  };
  return static_cast<int>(impl_->AskForChunks(IsExact(), count, {height, height, nullptr}, find));
}

// The terrain

namespace {

/// Makes a grid of a dataset that a caller gives up, in place of the one before. A null pointer takes that away.
int ReplaceGrid(XRSFile* given, double lowest, std::shared_ptr<zrk::HawkGrid>& grid) {
  std::unique_ptr<XRSFile> file(given);
  return zrk::FencedRead([&] {
    std::shared_ptr<zrk::HawkGrid> made;
    if (file) {
      made = zrk::HawkGrid::Make(std::move(file), lowest);
      if (!made) return zrk::FailRead("The dataset has no heights over longitude and latitude");
    }
    grid = std::move(made);
    return 1;
  });
}

}  // namespace

int ZRMBandHawk::SetDemFile(XRSFile* demFile) {
  return zrk::ReadPixels([&] { return ReplaceGrid(demFile, zrk::kLowestTerrain, impl_->terrain.dem); });
}

int ZRMBandHawk::SetGeoidFile(XRSFile* geoidFile) {
  return zrk::ReadPixels([&] { return ReplaceGrid(geoidFile, zrk::kLowestGeoid, impl_->terrain.geoid); });
}

XRSFile* ZRMBandHawk::GetDemFile() const {
  return impl_->terrain.dem ? impl_->terrain.dem->GetFile() : nullptr;
}

XRSFile* ZRMBandHawk::GetGeoidFile() const {
  return impl_->terrain.geoid ? impl_->terrain.geoid->GetFile() : nullptr;
}
