// Vector files through OGR. Each kind is opened by exactly the driver that is meant, registered by itself, so that neither
// the environment nor another format's reader has a say.

#include "ZRMVand.h"

#include "base/Disk.h"
#include "geo/GdalScope.h"
#include "XFile.h"
#include "XLimits.h"
#include "XThread.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <ogrsf_frmts.h>
#include <string>
#include <string_view>

X_IMPLEMENT_RUNTIME_CLASS(ZRMVand, XObject);

namespace {

struct DatasetClose {
  void operator()(GDALDataset* dataset) const { GDALClose(dataset); }
};
using Dataset = std::unique_ptr<GDALDataset, DatasetClose>;

/// The driver of a kind, or null where there is none.
const char* DriverOf(int kind) {
  switch (kind) {
    case ZRMVand::kKindDXF:
      return "DXF";
    case ZRMVand::kKindDGN:
      return "DGN";
    case ZRMVand::kKindSHP:
      return "ESRI Shapefile";
    case ZRMVand::kKindKML:
      return "LIBKML";
    default:
      return nullptr;
  }
}

const char* NameOf(int kind) {
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

void RegisterDrivers() {
  static std::once_flag once;
  std::call_once(once, [] {
    RegisterOGRShape();
    RegisterOGRDXF();
    RegisterOGRDGN();
    RegisterOGRLIBKML();
  });
}

/// Whether an XML text declares a document type, which can make a small file unfold without bound.
bool DeclaresDocumentType(std::string_view text) {
  constexpr std::string_view kDeclaration = "<!DOCTYPE";
  const auto sameLetter = [](char a, char b) { return (a & ~0x20) == (b & ~0x20); };
  return std::search(text.begin(), text.end(), kDeclaration.begin(), kDeclaration.end(), sameLetter) != text.end();
}

/// The reason against handing an XML file to a parser; empty where there is none.
XString RefuseXml(const XFile& file) {
  const std::int64_t length = file.GetLength();
  if (length > zrk::GetLimits().tableBytes) return "file is too large";
  std::string text(static_cast<std::size_t>(std::max<std::int64_t>(length, 0)), '\0');
  text.resize(static_cast<std::size_t>(file.ReadAt(0, text.data(), length)));
  // Wide characters would hide the declaration from the search, and an archive its text.
  if (text.find('\0') != std::string::npos) return "file is not plain text";
  return DeclaresDocumentType(text) ? "document type declarations are not allowed" : "";
}

XString RefuseFile(const XString& path, int kind) {
  XFile file;
  if (!file.Open(path, XFile::kRead | XFile::kShareDenyNone)) return file.GetLastErrorText();
  return kind == ZRMVand::kKindKML ? RefuseXml(file) : XString();
}

XString SystemOf(const OGRLayer& layer) {
  const OGRSpatialReference* system = const_cast<OGRLayer&>(layer).GetSpatialRef();
  if (!system) return {};
  char* text = nullptr;
  XString wkt;
  if (system->exportToWkt(&text) == OGRERR_NONE) wkt = text;
  CPLFree(text);
  return wkt;
}

tagXVectorLayer Describe(OGRLayer& layer) {
  tagXVectorLayer record;
  record.name = layer.GetName();
  record.numFeatures = std::max<GIntBig>(layer.GetFeatureCount(TRUE), 0);
  OGREnvelope extent;
  if (record.numFeatures > 0 && layer.GetExtent(&extent, TRUE) == OGRERR_NONE) {
    record.hasExtent = true;
    record.minX = extent.MinX;
    record.maxX = extent.MaxX;
    record.minY = extent.MinY;
    record.maxY = extent.MaxY;
  }
  record.wkt = SystemOf(layer);
  return record;
}

Dataset OpenWith(const char* driver, const XString& path) {
  const char* const drivers[] = {driver, nullptr};
  return Dataset(GDALDataset::Open(path.GetText(), GDAL_OF_VECTOR | GDAL_OF_READONLY, drivers, nullptr, nullptr));
}

/// Describes all layers; false where the thread was stopped before the end.
bool DescribeLayers(GDALDataset& dataset, XThread* thread, std::vector<tagXVectorLayer>& layers) {
  const int numLayers = dataset.GetLayerCount();
  for (int i = 0; i < numLayers; ++i) {
    if (thread) {
      thread->CallbackPercent(static_cast<int>(i * 100.0 / numLayers));
      if (XfnIsStopRequested(thread->GetStatePtr())) return false;
    }
    layers.push_back(Describe(*dataset.GetLayer(i)));
  }
  return true;
}

}  // namespace

ZRMVand::ZRMVand() = default;
ZRMVand::~ZRMVand() = default;

int ZRMVand::LoadFile(XString path, int kind, XString& err, XThread* thread) {
  layers_.clear();
  name_.Empty();
  sr_.Clear();
  const char* driver = DriverOf(kind);
  if (!driver) {
    err.Format("%s can't be read by this build", NameOf(kind));
    return 0;
  }
  XString reason = RefuseFile(path, kind);
  if (reason.IsEmpty()) {
    RegisterDrivers();
    const zrk::QuietGdal quiet;
    const Dataset dataset = OpenWith(driver, path);
    if (dataset) return TakeLayers(*dataset, path, err, thread);
    reason = quiet.GetLastError().IsEmpty() ? XString("not a file of this kind") : quiet.GetLastError();
  }
  err.Format("Can't read vector file : %s (%s)", path.GetText(), reason.GetText());
  return 0;
}

int ZRMVand::TakeLayers(GDALDataset& dataset, const XString& path, XString& err, XThread* thread) {
  std::vector<tagXVectorLayer> layers;
  if (!DescribeLayers(dataset, thread, layers)) {
    err.Empty();
    return 0;
  }
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

int ZRMVand::GetBoundRect(double& minX, double& maxX, double& minY, double& maxY) const {
  OGREnvelope all;
  for (const tagXVectorLayer& layer : layers_) {
    if (!layer.hasExtent) continue;
    all.Merge(layer.minX, layer.minY);
    all.Merge(layer.maxX, layer.maxY);
  }
  if (!all.IsInit()) return 0;
  minX = all.MinX;
  maxX = all.MaxX;
  minY = all.MinY;
  maxY = all.MaxY;
  return 1;
}
