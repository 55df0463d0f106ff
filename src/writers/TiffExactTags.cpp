// What an exact save keeps beside the pixels. TIFF itself has tags for alpha and for some texts. The null value, scale
// and offset, and all other texts stand in two tags that GDAL has registered: GDAL_NODATA, a number as text, and
// GDAL_METADATA, a small XML document of items. Most readers of rasters know both.
//
// The place goes by the full transform of the first band. It is written as a tie point and a scale where that says it
// all, and otherwise as the matrix of ModelTransformation.

#include "base/Failure.h"
#include "geo/GeoKeyHandle.h"
#include "geo/SystemKeys.h"
#include "writers/TiffJob.h"
#include "writers/TiffTagWriter.h"
#include "XGeoKeys.h"
#include "XRSFile.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <pugixml.hpp>
#include <sstream>
#include <string>
#include <vector>

#include <geotiffio.h>
#include <xtiffio.h>

namespace zrk {
namespace {

constexpr ttag_t kMetadataTag = 42112, kNullValueTag = 42113;
constexpr const char* kTagsNotWritten = "The tags can't be written";

void KnowTextTags(TIFF* tiff) {
  static const TIFFFieldInfo kFields[] = {
      {kMetadataTag, -1, -1, TIFF_ASCII, FIELD_CUSTOM, true, false, const_cast<char*>("GDALMetadata")},
      {kNullValueTag, -1, -1, TIFF_ASCII, FIELD_CUSTOM, true, false, const_cast<char*>("GDALNoDataValue")}};
  TIFFMergeFieldInfo(tiff, kFields, std::size(kFields));
}

/// The shortest text that is read back as the same number.
std::string MakeNumber(double value) {
  if (std::isnan(value)) return "nan";
  for (int digits = 15; digits <= 17; ++digits) {
    char text[40];
    std::snprintf(text, sizeof text, "%.*g", digits, value);
    if (std::stod(text) == value) return text;
  }
  return "";
}

bool AreSame(double a, double b) {
  return a == b || (std::isnan(a) && std::isnan(b));
}

/// A file has one null value for all of its bands.
bool SetNullValue(TIFF* tiff, const TiffJob& job, XString& err) {
  const double value = job.FirstBand()->GetNullValue();
  for (int i = 1; i < job.numBands; ++i) {
    if (!AreSame(job.dataset->GetBandAt(i)->GetNullValue(), value)) {
      return FailWith(err, "The bands have different null values, and a TIFF file has one for all of them");
    }
  }
  return value == kNotSet || TIFFSetField(tiff, kNullValueTag, MakeNumber(value).c_str()) != 0;
}

bool HasRole(const TiffJob& job, int band, XColourRole role) {
  return band < job.numBands && job.dataset->GetBandAt(band)->GetColourRole() == role;
}

/// A map has an entry for each value that a sample can have. Those that the image had none for are black.
bool SetColours(TIFF* tiff, const TiffJob& job) {
  const std::size_t numEntries = std::size_t{1} << (8 * job.SampleBytes());
  tagXColourMap map = *job.colours;
  for (auto* const each : {&map.red, &map.green, &map.blue}) each->resize(numEntries);
  return TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_PALETTE) &&
         TIFFSetField(tiff, TIFFTAG_COLORMAP, map.red.data(), map.green.data(), map.blue.data());
}

/// The bands that the photometric tag speaks of come first; alpha is one of the others.
bool SetRoles(TIFF* tiff, const TiffJob& job) {
  if (job.colours) return SetColours(tiff, job);
  const bool isColour =
      job.IsColour() || (HasRole(job, 0, kRoleRed) && HasRole(job, 1, kRoleGreen) && HasRole(job, 2, kRoleBlue));
  const int numColours = isColour ? 3 : 1;
  if (isColour && !TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB)) return false;
  std::vector<std::uint16_t> extra;
  for (int i = numColours; i < job.numBands; ++i) {
    extra.push_back(HasRole(job, i, kRoleAlpha) ? EXTRASAMPLE_UNASSALPHA : EXTRASAMPLE_UNSPECIFIED);
  }
  return extra.empty() || TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, static_cast<int>(extra.size()), extra.data()) != 0;
}

/// Texts that TIFF has tags of its own for, under the names by which GDAL knows them.
ttag_t FindTextTag(const std::string& name) {
  constexpr std::pair<const char*, ttag_t> kTags[] = {{"TIFFTAG_DOCUMENTNAME", TIFFTAG_DOCUMENTNAME},
                                                      {"TIFFTAG_IMAGEDESCRIPTION", TIFFTAG_IMAGEDESCRIPTION},
                                                      {"TIFFTAG_SOFTWARE", TIFFTAG_SOFTWARE},
                                                      {"TIFFTAG_DATETIME", TIFFTAG_DATETIME},
                                                      {"TIFFTAG_ARTIST", TIFFTAG_ARTIST},
                                                      {"TIFFTAG_HOSTCOMPUTER", TIFFTAG_HOSTCOMPUTER},
                                                      {"TIFFTAG_COPYRIGHT", TIFFTAG_COPYRIGHT}};
  const auto found = std::ranges::find(kTags, name, &std::pair<const char*, ttag_t>::first);
  return found == std::end(kTags) ? 0 : found->second;
}

/// The text as XML writes it. GDAL's own files have it so within an item, which is XML already, and its reader takes it
/// back twice.
std::string Escape(const std::string& text) {
  std::string escaped;
  for (const char each : text) {
    switch (each) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      default:
        escaped += each;
    }
  }
  return escaped;
}

/// Items of the XML document, which is written only where there are some.
class ItemList {
 public:
  void Add(const char* name, int band, const std::string& value) {
    pugi::xml_node item = list_.append_child("Item");
    item.append_attribute("name") = name;
    if (band >= 0) item.append_attribute("sample") = band;
    item.append_child(pugi::node_pcdata).set_value(Escape(value).c_str());
    last_ = item;
  }
  void AddNumber(const char* name, const char* role, int band, double value) {
    Add(name, band, MakeNumber(value));
    last_.append_attribute("role") = role;
  }
  void Add(const tagXMetadataItem& item) {
    Add(item.name, item.band, item.value);
    if (!item.role.IsEmpty()) last_.append_attribute("role") = item.role.GetText();
    if (!item.domain.IsEmpty()) last_.append_attribute("domain") = item.domain.GetText();
  }
  bool Write(TIFF* tiff) const {
    if (!list_.first_child()) return true;
    std::ostringstream text;
    document_.save(text, "  ", pugi::format_indent | pugi::format_no_declaration);
    return TIFFSetField(tiff, kMetadataTag, text.str().c_str()) != 0;
  }

 private:
  pugi::xml_document document_;
  pugi::xml_node list_ = document_.append_child("GDALMetadata");
  pugi::xml_node last_;
};

bool SetTexts(TIFF* tiff, const TiffJob& job) {
  ItemList items;
  for (const tagXMetadataItem& item : job.dataset->GetMetadata()) {
    const ttag_t tag = item.band < 0 && item.domain.IsEmpty() ? FindTextTag(item.name) : 0;
    if (tag && TIFFSetField(tiff, tag, item.value.GetText())) continue;
    items.Add(item);
  }
  for (int i = 0; i < job.numBands; ++i) {
    const ZRMBand& band = *job.dataset->GetBandAt(i);
    if (band.GetGain() == 1.0 && band.GetBias() == 0.0) continue;
    items.AddNumber("OFFSET", "offset", i, band.GetBias());
    items.AddNumber("SCALE", "scale", i, band.GetGain());
  }
  return items.Write(tiff);
}

void SetTransform(TIFF* tiff, const double transform[6]) {
  const GeoPlaceTags place = PlaceByTransform(transform);
  if (!place.matrix.empty()) {
    TIFFSetField(tiff, TIFFTAG_GEOTRANSMATRIX, 16, place.matrix.data());
    return;
  }
  TIFFSetField(tiff, TIFFTAG_GEOTIEPOINTS, 6, place.tiePoint.data());
  TIFFSetField(tiff, TIFFTAG_GEOPIXELSCALE, 3, place.pixelScale.data());
}

}  // namespace

/// Bands that are missing fail the save later, when they are read.
bool SetExactTags(TIFF* tiff, const TiffJob& job, XString& err) {
  KnowTextTags(tiff);
  if (!SetNullValue(tiff, job, err)) return false;
  return (SetRoles(tiff, job) && SetTexts(tiff, job)) || FailWith(err, kTagsNotWritten);
}

bool SetExactGeoTags(TIFF* tiff, const TiffJob& job, XString& err) {
  const ZRMBand& first = *job.FirstBand();
  const bool hasSystem = !first.GetSR()->IsEmpty();
  const bool hasPlace = first.GetCoordinateKind() == kCoordinateWorld;
  if (!hasSystem && !hasPlace) return true;
  double transform[6];
  job.GetTransform(transform);
  if (hasPlace) SetTransform(tiff, transform);
  const GeoKeys keys(GTIFNew(tiff));
  if (!keys) return FailWith(err, kTagsNotWritten);
  XString wkt;
  const bool isKept = !hasSystem || (first.GetSR()->exportToWkt(wkt) && XfnGTIFSetFromOGISDefn(keys.get(), wkt));
  if (!isKept) return FailWith(err, kSystemHasNoKeys);
  GTIFKeySet(keys.get(), GTRasterTypeGeoKey, TYPE_SHORT, 1, RasterPixelIsArea);
  return GTIFWriteKeys(keys.get()) || FailWith(err, kTagsNotWritten);
}

}  // namespace zrk
