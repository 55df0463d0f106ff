// The system that geokeys describe as WKT, and the geokeys of a system. GDAL knows what geokeys mean, but reads them
// only out of a file and writes them only into one. So the keys pass through a TIFF file of one pixel in memory, on the
// way from libgeotiff's handle to GDAL and on the way back.
//
// The caller's own file is not shown to GDAL: its other tags, the files beside it and its size would have a say. What
// GDAL makes of keys also depends on switches that the environment can set. They are held while it works.
//
// Nothing is kept between calls, so that two handles may be asked on two threads.

#include "XGeoKeys.h"

#include "geo/GdalMemory.h"
#include "geo/GdalScope.h"
#include "geo/GeoKeyFile.h"
#include "geo/GeoKeyHandle.h"
#include "geo/SystemKeys.h"
#include "geo/Wkt.h"

#include <gdal_frmts.h>
#include <gdal_priv.h>
#include <algorithm>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <vector>

namespace {

using zrk::GeoKey;
using zrk::GeoKeySet;

/// Holds the switches by which the environment would have a say in what keys mean.
class FixedGeoKeySwitches {
 private:
  CPLConfigOptionSetter sources_{"GDAL_GEOREF_SOURCES", "INTERNAL", false};
  CPLConfigOptionSetter neighbours_{"GDAL_DISABLE_READDIR_ON_OPEN", "EMPTY_DIR", false};
  CPLConfigOptionSetter auxiliary_{"GDAL_PAM_ENABLED", "NO", false};
  CPLConfigOptionSetter citations_{"GTIFF_ESRI_CITATION", "YES", false};
  CPLConfigOptionSetter registry_{"GTIFF_IMPORT_FROM_EPSG", "YES", false};
  CPLConfigOptionSetter choice_{"GTIFF_SRS_SOURCE", "", false};  // the registry, unless the keys say otherwise
  CPLConfigOptionSetter angles_{"GTIFF_READ_ANGULAR_PARAMS_IN_DEGREE", "NO", false};
  CPLConfigOptionSetter texts_{"OSR_WKT_FORMAT", "DEFAULT", false};  // in which OGR looks its own systems over
  CPLConfigOptionSetter shifts_{"OSR_STRIP_TOWGS84", "YES", false};
  CPLConfigOptionSetter writtenShifts_{"GTIFF_WRITE_TOWGS84", "AUTO", false};
};

struct DatasetClose {
  void operator()(GDALDataset* dataset) const { GDALClose(dataset); }
};
using Dataset = std::unique_ptr<GDALDataset, DatasetClose>;

void KnowTheFormat() {
  static std::once_flag once;
  std::call_once(once, [] { GDALRegister_GTiff(); });
}

Dataset OpenWithGdal(const char* name) {
  KnowTheFormat();
  // One driver and no list of neighbours: GDAL neither tries other formats nor looks for files beside this one.
  const char* const drivers[] = {"GTiff", nullptr};
  const char* const siblings[] = {nullptr};
  constexpr unsigned kHow = GDAL_OF_RASTER | GDAL_OF_READONLY | GDAL_OF_INTERNAL;
  return Dataset(GDALDataset::Open(name, kHow, drivers, nullptr, siblings));
}

/// A file of one pixel. Every option that the environment could set is given here.
Dataset CreateWithGdal(const char* name) {
  KnowTheFormat();
  GDALDriver* const driver = GetGDALDriverManager()->GetDriverByName("GTiff");
  const char* const options[] = {"PROFILE=GeoTIFF",
                                 "GEOTIFF_KEYS_FLAVOR=STANDARD",
                                 "GEOTIFF_VERSION=AUTO",
                                 "ENDIANNESS=LITTLE",
                                 "BIGTIFF=NO",
                                 "COMPRESS=NONE",
                                 nullptr};
  return Dataset(driver ? driver->Create(name, 1, 1, 1, GDT_Byte, const_cast<char**>(options)) : nullptr);
}

/// Adds the model type where the keys lack it, since readers ignore keys without one. GDAL gives a local system a name
/// and a unit and no model type. Where it gives none to another system, as to heights alone, the keys don't describe
/// that system. The answer is false then.
bool EnsureModelType(GeoKeySet& set, const OGRSpatialReference& system) {
  constexpr std::uint16_t kModelType = 1024, kUserDefined = 32767;
  if (std::ranges::any_of(set.keys, [](const GeoKey& key) { return key.id == kModelType; })) return true;
  if (!system.IsLocal()) return false;
  set.keys.insert(set.keys.begin(), {kModelType, kUserDefined});
  return true;
}

/// The keys by which GDAL describes a system; empty where it has no keys for it. The key that says what a pixel is does
/// not belong to the system, and is left to the caller.
std::optional<GeoKeySet> MakeKeys(const OGRSpatialReference& system) {
  const zrk::GdalMemoryFile file;
  Dataset dataset = CreateWithGdal(file.GetName());
  if (!dataset || dataset->SetSpatialRef(&system) != CE_None) return {};
  dataset.reset();
  std::optional<GeoKeySet> set = zrk::ReadGeoKeyFile(file.GetBytes());
  if (!set) return {};
  std::erase_if(set->keys, [](const GeoKey& key) { return key.id == zrk::kRasterTypeKey; });
  return EnsureModelType(*set, system) ? set : std::nullopt;
}

/// Whether GDAL made a system up out of keys that tell too little. It makes a local system of keys that only give a
/// name. Where it finds no ellipsoid it takes that of WGS 84 under a name that says so. With a projection even such a
/// system is worth having.
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
    const GeoKeySet set = zrk::ReadGeoKeys(gtif);
    const FixedGeoKeySwitches switches;
    // Heights belong to the system since GeoTIFF 1.1; files before that often say something else there.
    const CPLConfigOptionSetter heights("GTIFF_REPORT_COMPD_CS", set.minorRevision > 0 ? "YES" : "NO", false);
    const zrk::GdalMemoryFile file(zrk::MakeGeoKeyFile(set));
    const Dataset dataset = OpenWithGdal(file.GetName());
    const OGRSpatialReference* system = dataset ? dataset->GetSpatialRef() : nullptr;
    XString wkt;
    if (system && !IsMadeUp(*system)) zrk::ExportWkt(*system, wkt);
    return wkt;
  } catch (const std::exception&) {
    return {};
  }
}

namespace zrk {

std::optional<GeoKeySet> KeysOfSystem(const XString& wkt) {
  if (!IsPlausibleWkt(wkt)) return {};
  const QuietGdal quiet;
  try {
    SwitchNetworkOff();
    const FixedGeoKeySwitches switches;
    OGRSpatialReference system;
    if (system.importFromWkt(wkt.GetText()) != OGRERR_NONE) return {};
    return MakeKeys(system);
  } catch (const std::exception&) {
    return {};
  }
}

}  // namespace zrk

int XfnGTIFSetFromOGISDefn(gtiff* gtif, const XString& wkt) {
  if (!gtif) return 0;
  const std::optional<GeoKeySet> set = zrk::KeysOfSystem(wkt);
  const zrk::QuietGdal quiet;
  try {
    return set && zrk::SetGeoKeys(gtif, *set) ? 1 : 0;
  } catch (const std::exception&) {
    return 0;
  }
}
