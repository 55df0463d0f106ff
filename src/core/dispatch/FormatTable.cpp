#include "core/dispatch/FormatTable.h"

#include <algorithm>
#include <array>

namespace zrk {
namespace {

template <auto Load>
constexpr FormatEntry Raster(int id, const char* name, FoundBy foundBy, const char* extensions, const char* bandClass) {
  const bool canRead = bandClass[0] != '\0';
  return {{id, name, extensions, true, canRead, bandClass}, foundBy, &RouteRaster<Load>, nullptr};
}

template <auto Load>
constexpr FormatEntry Vector(int id, const char* name, const char* extensions, bool canRead) {
  return {{id, name, extensions, false, canRead, ""}, FoundBy::kWords, nullptr, &RouteVector<Load>};
}

/// Its extension gives the id, but the router does not take it: the caller goes to the format's own loader.
constexpr FormatEntry UnroutedVector(int id, const char* name, const char* extensions, bool canRead) {
  return {{id, name, extensions, false, canRead, ""}, FoundBy::kWords, nullptr, nullptr};
}

using IO = XRSFileIO;
constexpr const char* kNoBand = "";
constexpr const char* kCibRule = "i and one of 1 2 3 4 5 v, whatever follows";
constexpr const char* kCadrgRule = "one of gn jn on tp ja tc tl in it, and 1 to 8 or a to h in third place";

// No word stands in two rows, so that the order of rows does not matter to an extension.
constexpr std::array kEntries = {
    Raster<IO::LoadFileZRM>(kFormatZRM, "Native raster", FoundBy::kWords, "zrm", "ZRMBandEPOT"),
    Raster<IO::LoadFileTIF>(kFormatTIF, "TIFF, GeoTIFF", FoundBy::kWords, "tif tiff", "ZRMBandGTIFF"),
    Raster<IO::LoadFileJPG>(kFormatJPG, "JPEG", FoundBy::kWords, "jpg", "ZRMBandJPG"),
    Raster<IO::LoadFileBMP>(kFormatBMP, "Windows bitmap", FoundBy::kWords, "bmp", "ZRMBandBMP"),
    Raster<IO::LoadFileDTED>(kFormatDTED, "DTED", FoundBy::kWords, "dt0 dt1 dt2", "ZRMBandDTED"),
    Raster<IO::LoadFileSID>(kFormatSID, "MrSID", FoundBy::kWords, "sid", kNoBand),
    Raster<IO::LoadFileJP2>(kFormatJP2, "JPEG 2000", FoundBy::kWords, "jp2", kNoBand),
    Raster<IO::LoadFileCIB>(kFormatCIB, "CIB", FoundBy::kRule, kCibRule, "ZRMBandCIB"),
    Raster<IO::LoadFileCADRG>(kFormatCADRG, "CADRG", FoundBy::kRule, kCadrgRule, "ZRMBandCADRG"),
    Raster<IO::LoadFileHAWK>(kFormatHAWK, "Hawk scanning sensor", FoundBy::kIdOnly, "", kNoBand),
    Raster<IO::LoadFileNITFIMG>(kFormatNITFIMG, "NITF image", FoundBy::kIdOnly, "", kNoBand),
    Raster<IO::LoadFileHFA>(kFormatHFA, "HFA", FoundBy::kWords, "img", kNoBand),
    Raster<IO::LoadFileHDF4>(kFormatHDF4, "HDF4", FoundBy::kIdOnly, "", "ZRMBandHDF4"),
    Raster<IO::LoadFileECW>(kFormatECW, "ECW", FoundBy::kWords, "ecw", kNoBand),
    Raster<IO::LoadFilePBI>(kFormatPBI, "PBI tile pyramid", FoundBy::kWords, "pbi pei", kNoBand),
    Raster<IO::LoadFilePBE>(kFormatPBE, "PBE tile pyramid", FoundBy::kWords, "pbe", kNoBand),
    Raster<IO::LoadFileTXID>(kFormatTXID, "TXID tile store", FoundBy::kWords, "txi", kNoBand),
    Vector<IO::LoadFileXVC>(kFormatXVC, "Native vector", "xvc", false),
    Vector<IO::LoadFileSHP>(kFormatSHP, "Shapefile", "shp", true),
    Vector<IO::LoadFileDGN>(kFormatDGN, "DGN", "dgn", true),
    Vector<IO::LoadFileDLG>(kFormatDLG, "DLG", "dlg", false),
    Vector<IO::LoadFileDXF>(kFormatDXF, "DXF", "dxf", true),
    UnroutedVector(kFormatNITF, "NITF vector data", "ntf", false),
    UnroutedVector(kFormatKML, "KML", "kml", true),
};

// The public table is the first column of the one above.
constexpr auto kFormats = [] {
  std::array<tagXFormat, kEntries.size()> formats{};
  std::ranges::transform(kEntries, formats.begin(), &FormatEntry::format);
  return formats;
}();

}  // namespace

std::span<const FormatEntry> GetFormatEntries() {
  return kEntries;
}

const FormatEntry* FindFormatEntry(int id) {
  const auto found = std::ranges::find(kEntries, id, [](const FormatEntry& entry) { return entry.format.id; });
  return found == kEntries.end() ? nullptr : &*found;
}

}  // namespace zrk

std::span<const tagXFormat> XfnGetFormats() {
  return zrk::kFormats;
}

const tagXFormat* XfnFindFormat(int id) {
  const auto found = std::ranges::find(zrk::kFormats, id, &tagXFormat::id);
  return found == zrk::kFormats.end() ? nullptr : &*found;
}
