// GDAL knows what geokeys mean but takes them from a file only. So the keys are laid into a file of one pixel in
// memory, and GDAL is asked for that file's system.
//
// The keys are what a stranger's file says, and some texts among them are parsed: what no writer of such files would
// say is left out before.

#include "XGeoKeys.h"

#include "geo/GdalScope.h"
#include "geo/GeoKeyFile.h"
#include "geo/Wkt.h"

#include <gdal_frmts.h>
#include <gdal_priv.h>
#include <geotiff.h>
#include <algorithm>
#include <cstdio>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace {

using zrk::GeoKey;
using zrk::GeoKeySet;

/// All ids that mean something, first to last, in ascending order.
struct IdRange {
  int first;
  int last;
};
constexpr IdRange kRanges[] = {{1024, 1026}, {2048, 2062}, {3072, 3096}, {4096, 4099}, {5120, 5120}};

constexpr int kMostDoubles = 7;  // of a datum shift; other keys have one
constexpr int kMostTextBytes = 16384;
constexpr std::ptrdiff_t kMostBrackets = 256;

/// Whether a text can't lead a parser astray. It is not known where in the text a system begins, nor whether that is
/// within quotes, so brackets are counted wherever they stand.
bool IsHarmless(const std::string& text) {
  return text.find('\0') == std::string::npos &&
         std::ranges::count_if(text, [](char c) { return c == '[' || c == '('; }) <= kMostBrackets;
}

std::optional<GeoKey> ReadShort(GTIF* gtif, geokey_t id, int count) {
  std::uint16_t value = 0;
  // More than one value lie elsewhere, and asked for one of them libgeotiff gives part of an address.
  if (count != 1 || !GTIFKeyGetSHORT(gtif, id, &value, 0, 1)) return {};
  return GeoKey{static_cast<std::uint16_t>(id), value};
}

std::optional<GeoKey> ReadDoubles(GTIF* gtif, geokey_t id, int count) {
  if (count > kMostDoubles) return {};
  std::vector<double> values(static_cast<std::size_t>(count));
  if (GTIFKeyGetDOUBLE(gtif, id, values.data(), 0, count) != count) return {};
  return GeoKey{static_cast<std::uint16_t>(id), std::move(values)};
}

std::optional<GeoKey> ReadText(GTIF* gtif, geokey_t id, int count) {
  if (count > kMostTextBytes) return {};
  std::string text(static_cast<std::size_t>(count), '\0');
  if (GTIFKeyGetASCII(gtif, id, text.data(), count) != count) return {};
  text.resize(text.find_last_not_of('\0') + 1);
  if (!IsHarmless(text)) return {};
  return GeoKey{static_cast<std::uint16_t>(id), std::move(text)};
}

std::optional<GeoKey> ReadKey(GTIF* gtif, geokey_t id) {
  int size = 0;
  tagtype_t type = TYPE_UNKNOWN;
  const int count = GTIFKeyInfo(gtif, id, &size, &type);
  if (count <= 0) return {};
  if (type == TYPE_SHORT) return ReadShort(gtif, id, count);
  if (type == TYPE_DOUBLE) return ReadDoubles(gtif, id, count);
  return type == TYPE_ASCII ? ReadText(gtif, id, count) : std::nullopt;
}

GeoKeySet ReadKeys(GTIF* gtif) {
  GeoKeySet set;
  int versions[3] = {1, 1, 0};
  GTIFDirectoryInfo(gtif, versions, nullptr);
  set.version = static_cast<std::uint16_t>(versions[0]);
  set.majorRevision = static_cast<std::uint16_t>(versions[1]);
  set.minorRevision = static_cast<std::uint16_t>(versions[2]);
  for (const IdRange& range : kRanges) {
    for (int id = range.first; id <= range.last; ++id) {
      if (std::optional<GeoKey> key = ReadKey(gtif, static_cast<geokey_t>(id))) set.keys.push_back(*std::move(key));
    }
  }
  return set;
}

/// A file that GDAL sees while this lives.
class MemoryFile {
 public:
  explicit MemoryFile(std::vector<unsigned char> bytes) : bytes_(std::move(bytes)) {
    // No two that live at a time have one address.
    char name[64];
    std::snprintf(name, sizeof name, "/vsimem/zrkio-geokeys-%p.tif", static_cast<void*>(this));
    name_ = name;
    isThere_ = Close(VSIFileFromMemBuffer(name, bytes_.data(), bytes_.size(), FALSE));
  }
  ~MemoryFile() {
    if (isThere_) VSIUnlink(name_.c_str());
  }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  const char* GetName() const { return name_.c_str(); }

 private:
  static bool Close(VSILFILE* file) { return file && VSIFCloseL(file) == 0; }

  std::vector<unsigned char> bytes_;
  std::string name_;
  bool isThere_ = false;
};

/// Keeps the environment from having a say in what keys mean.
class FixedGeoKeySwitches {
 public:
  explicit FixedGeoKeySwitches(const GeoKeySet& set)
      // Heights belong to the system since GeoTIFF 1.1; files before that often say something else there.
      : heights_("GTIFF_REPORT_COMPD_CS", set.minorRevision > 0 ? "YES" : "NO", false) {}

 private:
  CPLConfigOptionSetter heights_;
  CPLConfigOptionSetter sources_{"GDAL_GEOREF_SOURCES", "INTERNAL", false};
  CPLConfigOptionSetter neighbours_{"GDAL_DISABLE_READDIR_ON_OPEN", "EMPTY_DIR", false};
  CPLConfigOptionSetter auxiliary_{"GDAL_PAM_ENABLED", "NO", false};
  CPLConfigOptionSetter citations_{"GTIFF_ESRI_CITATION", "YES", false};
  CPLConfigOptionSetter registry_{"GTIFF_IMPORT_FROM_EPSG", "YES", false};
  CPLConfigOptionSetter choice_{"GTIFF_SRS_SOURCE", "", false};  // the registry, unless the keys say otherwise
  CPLConfigOptionSetter angles_{"GTIFF_READ_ANGULAR_PARAMS_IN_DEGREE", "NO", false};
};

struct DatasetClose {
  void operator()(GDALDataset* dataset) const { GDALClose(dataset); }
};
using Dataset = std::unique_ptr<GDALDataset, DatasetClose>;

Dataset OpenWithGdal(const char* name) {
  static std::once_flag once;
  std::call_once(once, [] { GDALRegister_GTiff(); });
  const char* const drivers[] = {"GTiff", nullptr};
  const char* const siblings[] = {nullptr};
  constexpr unsigned kHow = GDAL_OF_RASTER | GDAL_OF_READONLY | GDAL_OF_INTERNAL;
  return Dataset(GDALDataset::Open(name, kHow, drivers, nullptr, siblings));
}

/// Whether a system tells nothing of where it lies. GDAL makes a local one of keys that only name a system, and takes
/// the ellipsoid of WGS 84, under a telling name, where it finds none; with a projection even that is worth having.
bool IsMadeUp(const OGRSpatialReference& system) {
  if (system.GetAttrNode("LOCAL_CS")) return true;
  const char* const ellipsoid = system.GetAttrValue("SPHEROID");
  const bool hasEllipsoid = ellipsoid && !std::string_view(ellipsoid).starts_with("unretrievable");
  return !hasEllipsoid && !system.GetAttrNode("PROJECTION");
}

}  // namespace

XString XfnGTIFGetOGISDefn(gtiff* gtif) {
  if (!gtif) return {};
  const zrk::QuietGdal quiet;
  try {
    zrk::SwitchNetworkOff();
    const GeoKeySet set = ReadKeys(gtif);
    const FixedGeoKeySwitches switches(set);
    const MemoryFile file(zrk::MakeGeoKeyFile(set));
    const Dataset dataset = OpenWithGdal(file.GetName());
    const OGRSpatialReference* system = dataset ? dataset->GetSpatialRef() : nullptr;
    XString wkt;
    if (system && !IsMadeUp(*system)) zrk::ExportWkt(*system, wkt);
    return wkt;
  } catch (const std::exception&) {
    return {};
  }
}
