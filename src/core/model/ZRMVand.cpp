// Vector files through OGR. Each kind is opened by its own driver and no other, which is registered by itself. The
// driver reads files through the library's own access to the disk. So neither the environment nor a driver of another
// format has any influence.
//
// A file goes through a gate before its driver sees it. The gates refuse a file of another kind, and one whose nesting
// or links would let it ask for unbounded work. Then its layers are described: name, count of features, extent and
// system. Features themselves are not kept. Several threads may load at once, each its own set; only the opening takes
// a lock. A set is emptied before a load, and only a load that succeeds fills it.

#include "ZRMVand.h"

#include "base/XmlGate.h"
#include "geo/DxfGate.h"
#include "geo/GdalDisk.h"
#include "geo/GdalScope.h"
#include "geo/Wkt.h"
#include "XFile.h"
#include "XLimits.h"
#include "XThread.h"

#include <ogrsf_frmts.h>
#include <algorithm>
#include <array>
#include <cmath>
#include <exception>
#include <memory>
#include <mutex>
#include <string>

X_IMPLEMENT_RUNTIME_CLASS(ZRMVand, XObject);

namespace {

/// Looks at a file before its driver does. An empty sentence lets the file pass.
using Gate = XString (*)(const XFile& file);

/// What is known of one kind of file.
struct Reader {
  int kind;
  const char* driver;
  void (*registerDriver)();
  Gate gate;
};

/// How the reading of a file ended.
enum class End { kDone, kStopped, kFailed };

struct DatasetClose {
  void operator()(GDALDataset* dataset) const { GDALClose(dataset); }
};
using Dataset = std::unique_ptr<GDALDataset, DatasetClose>;

/// Features between two looks at the state word.
constexpr int kFeaturesPerLook = 256;

/// The gate needs the whole text at once, and so it has to be within the limit of tables.
XString PassKml(const XFile& file) {
  const std::int64_t length = file.GetLength();
  if (length < 0 || length > XfnGetLimits().tableBytes) return "file is too large";
  std::string text(static_cast<std::size_t>(length), '\0');
  if (file.ReadAt(0, text.data(), length) != length) return "file can't be read to its end";
  return zrk::FindXmlDanger(text, XfnGetLimits().nestingDepth);
}

XString PassDxf(const XFile& file) {
  return zrk::FindDxfDanger(file, XfnGetLimits().nestingDepth);
}

/// The driver also takes tables and archives, which are other kinds of file.
XString PassShapefile(const XFile& file) {
  constexpr std::array<unsigned char, 4> kFileCode = {0x00, 0x00, 0x27, 0x0A};
  std::array<unsigned char, 4> start = {};
  return file.ReadAt(0, start.data(), 4) == 4 && start == kFileCode ? "" : "not a shapefile";
}

XString PassAny(const XFile&) {
  return {};
}

constexpr Reader kReaders[] = {
    {ZRMVand::kKindDXF, "DXF", &RegisterOGRDXF, &PassDxf},
    {ZRMVand::kKindDGN, "DGN", &RegisterOGRDGN, &PassAny},
    {ZRMVand::kKindSHP, "ESRI Shapefile", &RegisterOGRShape, &PassShapefile},
    {ZRMVand::kKindKML, "LIBKML", &RegisterOGRLIBKML, &PassKml},
};

const Reader* FindReader(int kind) {
  const auto reader =
      std::find_if(std::begin(kReaders), std::end(kReaders), [&](const Reader& r) { return r.kind == kind; });
  return reader == std::end(kReaders) ? nullptr : reader;
}

/// Callers may ask for kinds that this build has no reader for. The sentence tells which.
const char* NameOfUnreadable(int kind) {
  switch (kind) {
    case ZRMVand::kKindXVC:
      return "Native vector files";
    case ZRMVand::kKindDLG:
      return "DLG files";
    case ZRMVand::kKindNITF:
      return "NITF vector data";
    default:
      return "Files of this kind";
  }
}

XString RefuseFile(const XString& path, Gate gate) {
  XFile file;
  if (!file.Open(path, XFile::kRead | XFile::kShareDenyNone)) return file.GetLastErrorText();
  return gate(file);
}

Dataset OpenWith(const Reader& reader, const XString& path) {
  // The KML parser makes its tables when it is first used, and a driver may be registered only once.
  static std::mutex mutex;
  const std::lock_guard lock(mutex);
  reader.registerDriver();
  const char* const drivers[] = {reader.driver, nullptr};
  const XString name = zrk::PathForGdal(path);
  return Dataset(GDALDataset::Open(name.GetText(), GDAL_OF_VECTOR | GDAL_OF_READONLY, drivers, nullptr, nullptr));
}

bool IsStopped(XThread* thread) {
  return thread && XfnIsStopRequested(thread->GetStatePtr());
}

/// Widens the extent of a layer. An envelope that is no range of finite numbers says nothing and is passed over.
void Widen(tagXVectorLayer& layer, const OGREnvelope& by) {
  const bool isFinite =
      std::isfinite(by.MinX) && std::isfinite(by.MaxX) && std::isfinite(by.MinY) && std::isfinite(by.MaxY);
  if (!isFinite || by.MinX > by.MaxX || by.MinY > by.MaxY) return;
  layer.minX = layer.hasExtent ? std::min(layer.minX, by.MinX) : by.MinX;
  layer.maxX = layer.hasExtent ? std::max(layer.maxX, by.MaxX) : by.MaxX;
  layer.minY = layer.hasExtent ? std::min(layer.minY, by.MinY) : by.MinY;
  layer.maxY = layer.hasExtent ? std::max(layer.maxY, by.MaxY) : by.MaxY;
  layer.hasExtent = true;
}

/// Looks at every feature; false where the thread was stopped.
bool Measure(OGRLayer& layer, tagXVectorLayer& record, XThread* thread) {
  for (const OGRFeatureUniquePtr& feature : layer) {
    if (record.numFeatures++ % kFeaturesPerLook == 0 && IsStopped(thread)) return false;
    const OGRGeometry* geometry = feature->GetGeometryRef();
    if (!geometry || geometry->IsEmpty()) continue;
    OGREnvelope extent;
    geometry->getEnvelope(&extent);
    Widen(record, extent);
  }
  return true;
}

/// Takes what the headers of a shapefile tell, so that a large one is described at once. Layers of other kinds are
/// measured feature by feature.
void TakeSummary(OGRLayer& layer, tagXVectorLayer& record) {
  record.numFeatures = std::max<GIntBig>(layer.GetFeatureCount(TRUE), 0);
  OGREnvelope extent;
  if (record.numFeatures > 0 && layer.GetExtent(&extent, TRUE) == OGRERR_NONE) Widen(record, extent);
}

/// Describes all layers; false where the thread was stopped before the end.
bool DescribeLayers(GDALDataset& dataset, int kind, std::vector<tagXVectorLayer>& layers, XThread* thread) {
  const int numLayers = dataset.GetLayerCount();
  for (int i = 0; i < numLayers; ++i) {
    if (thread) thread->CallbackPercent(i * 100.0 / numLayers);
    if (IsStopped(thread)) return false;
    OGRLayer& layer = *dataset.GetLayer(i);
    tagXVectorLayer& record = layers.emplace_back();
    record.name = layer.GetName();
    if (const OGRSpatialReference* system = layer.GetSpatialRef()) zrk::ExportWkt(*system, record.wkt);
    if (kind == ZRMVand::kKindSHP) {
      TakeSummary(layer, record);
    } else if (!Measure(layer, record, thread)) {
      return false;
    }
  }
  if (thread) thread->CallbackPercent(100.0);
  return true;
}

/// Reads the file's layers, or gives the reason why they can't be read.
End ReadLayers(const XString& path, const Reader& reader, std::vector<tagXVectorLayer>& layers, XString& reason,
               XThread* thread) {
  // Both guards are made before the dataset, so that they also hold while it is closed.
  const zrk::QuietGdal quiet;
  const zrk::FixedGdalSwitches switches;
  try {
    reason = RefuseFile(path, reader.gate);
    if (!reason.IsEmpty()) return End::kFailed;
    const Dataset dataset = OpenWith(reader, path);
    if (dataset) return DescribeLayers(*dataset, reader.kind, layers, thread) ? End::kDone : End::kStopped;
    reason = quiet.GetLastError().IsEmpty() ? "not a file of this kind" : zrk::WithPathsOfDisk(quiet.GetLastError());
  } catch (const std::exception& exception) {
    reason = exception.what();
  }
  return End::kFailed;
}

}  // namespace

ZRMVand::ZRMVand() = default;
ZRMVand::~ZRMVand() = default;

int ZRMVand::LoadFile(XString path, int kind, XString& err, XThread* thread) {
  layers_.clear();
  name_.Empty();
  sr_.Clear();
  const Reader* reader = FindReader(kind);
  if (!reader) {
    err.Format("%s can't be read by this build", NameOfUnreadable(kind));
    return 0;
  }
  std::vector<tagXVectorLayer> layers;
  XString reason;
  const End end = ReadLayers(path, *reader, layers, reason, thread);
  if (end == End::kStopped) err.Empty();
  if (end == End::kFailed) err.Format("Can't read vector file : %s (%s)", path.GetText(), reason.GetText());
  if (end != End::kDone) return 0;
  layers_ = std::move(layers);
  name_ = path;
  if (!layers_.empty() && !layers_.front().wkt.IsEmpty()) sr_.importFromWkt(layers_.front().wkt);
  return 1;
}

int ZRMVand::LoadFileEx(XString path, int kind, XObList&, int* numObjects, XString& err, XThread* thread) {
  if (numObjects) *numObjects = 0;
  return LoadFile(path, kind, err, thread);
}

const tagXVectorLayer* ZRMVand::GetLayerAt(int index) const {
  return index >= 0 && index < GetNumOfLayers() ? &layers_[static_cast<std::size_t>(index)] : nullptr;
}

/// The layers are merged as envelopes, so that the rule for an unset extent holds for them too.
int ZRMVand::GetBoundRect(double& minX, double& maxX, double& minY, double& maxY) const {
  tagXVectorLayer all;
  for (const tagXVectorLayer& layer : layers_) {
    if (!layer.hasExtent) continue;
    OGREnvelope extent;
    extent.Merge(layer.minX, layer.minY);
    extent.Merge(layer.maxX, layer.maxY);
    Widen(all, extent);
  }
  if (!all.hasExtent) return 0;
  minX = all.minX;
  maxX = all.maxX;
  minY = all.minY;
  maxY = all.maxY;
  return 1;
}
