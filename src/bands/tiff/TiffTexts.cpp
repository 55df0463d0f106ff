// Texts that a TIFF file carries. Some tags are texts by themselves. One more holds XML, with an item for each text
// that a program kept for the image or for one of its samples:
//
//   <GDALMetadata>
//     <Item name="Sensor">TM</Item>
//     <Item name="SCALE" sample="0" role="scale">0.1</Item>
//   </GDALMetadata>

#include "bands/tiff/TiffTexts.h"

#include "base/XmlGate.h"
#include "XLimits.h"
#include "XRSFile.h"
#include "ZRMBandGTIFF.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <optional>
#include <string>
#include <utility>

#include <pugixml.hpp>

namespace zrk {
namespace {

constexpr ttag_t kItemsTag = 42112;
constexpr std::size_t kMaxXmlBytes = std::size_t{16} << 20;

struct TextTag {
  ttag_t tag;
  const char* name;
};

/// Texts of the standard that tell something about the image, under the names that other programs show them by.
constexpr TextTag kTextTags[] = {
    {TIFFTAG_DOCUMENTNAME, "TIFFTAG_DOCUMENTNAME"},
    {TIFFTAG_IMAGEDESCRIPTION, "TIFFTAG_IMAGEDESCRIPTION"},
    {TIFFTAG_MAKE, "TIFFTAG_MAKE"},
    {TIFFTAG_MODEL, "TIFFTAG_MODEL"},
    {TIFFTAG_PAGENAME, "TIFFTAG_PAGENAME"},
    {TIFFTAG_SOFTWARE, "TIFFTAG_SOFTWARE"},
    {TIFFTAG_DATETIME, "TIFFTAG_DATETIME"},
    {TIFFTAG_ARTIST, "TIFFTAG_ARTIST"},
    {TIFFTAG_HOSTCOMPUTER, "TIFFTAG_HOSTCOMPUTER"},
    {TIFFTAG_COPYRIGHT, "TIFFTAG_COPYRIGHT"},
};

/// The text of a tag up to its first zero; empty without one. Tags that libtiff doesn't know come with their length,
/// and their type is the file's.
std::string_view ReadText(TIFF* tiff, ttag_t tag) {
  const TIFFField* const field = TIFFFindField(tiff, tag, TIFF_ANY);
  if (!field || TIFFFieldDataType(field) != TIFF_ASCII) return {};
  const char* text = nullptr;
  std::string_view all;
  if (!TIFFFieldPassCount(field)) {
    if (TIFFGetField(tiff, tag, &text) && text) all = text;
  } else if (TIFFFieldReadCount(field) == TIFF_VARIABLE2) {
    std::uint32_t count = 0;
    if (TIFFGetField(tiff, tag, &count, &text) && text) all = {text, count};
  }
  return all.substr(0, all.find('\0'));
}

template <class Number>
std::optional<Number> ParseWhole(std::string_view text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc{} && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

/// Programs write the text of an item as XML, and then that as the text of the XML document.
XString Unescape(std::string_view text) {
  constexpr std::pair<std::string_view, char> kEntities[] = {
      {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''}, {"&amp;", '&'}};
  std::string plain;
  while (!text.empty()) {
    const auto* const entity =
        std::ranges::find_if(kEntities, [text](const auto& each) { return text.starts_with(each.first); });
    const bool isEntity = entity != std::end(kEntities);
    plain += isEntity ? entity->second : text.front();
    text.remove_prefix(isEntity ? entity->first.size() : 1);
  }
  return plain;
}

bool IsExtraAlpha(std::uint16_t kind) {
  return kind == EXTRASAMPLE_ASSOCALPHA || kind == EXTRASAMPLE_UNASSALPHA;
}

/// The number of samples that the photometric makes colours of. It is 0 for a photometric that gives samples no role.
int CountColourSamples(const TiffLayout& layout) {
  switch (layout.tags.photometric) {
    case PHOTOMETRIC_MINISWHITE:
    case PHOTOMETRIC_MINISBLACK:
    case PHOTOMETRIC_PALETTE:
      return 1;
    case PHOTOMETRIC_RGB:
    case PHOTOMETRIC_YCBCR:
      return 3;
    default:
      return 0;
  }
}

XColourRole RoleOfColour(int colour, int numColours) {
  constexpr XColourRole kRoles[] = {kRoleRed, kRoleGreen, kRoleBlue};
  return numColours == 1 ? kRoleGrey : kRoles[colour];
}

void TellNumbers(ZRMBandGTIFF& band, const TiffItems& items) {
  for (const TiffItems::Number& each : items.numbers) {
    if (each.sample != band.GetSample()) continue;
    if (each.isScale) {
      band.SetGain(each.value);
    } else {
      band.SetBias(each.value);
    }
  }
}

/// The bands of the file that was loaded last; others may stand before them.
std::vector<ZRMBandGTIFF*> ListBands(XRSFile& file) {
  std::vector<ZRMBandGTIFF*> bands;
  for (int i = 0; i < file.GetNumOfBands(); ++i) {
    auto* const band = dynamic_cast<ZRMBandGTIFF*>(file.GetBandAt(i));
    if (!band) continue;
    if (band->GetChannel() == 0) bands.clear();
    bands.push_back(band);
  }
  return bands;
}

/// The place of a sample's band in the dataset, whose last bands are those given. Colours stand for the first sample.
int FindBand(const XRSFile& file, const std::vector<ZRMBandGTIFF*>& bands, int sample) {
  if (sample < 0) return -1;
  const int first = file.GetNumOfBands() - static_cast<int>(bands.size());
  const auto found = std::ranges::find(bands, sample, &ZRMBandGTIFF::GetSample);
  return found == bands.end() ? first : first + static_cast<int>(found - bands.begin());
}

}  // namespace

XColourRole FindColourRole(const TiffLayout& layout, const std::vector<std::uint16_t>& extraSamples, int channel) {
  constexpr XColourRole kColours[] = {kRoleRed, kRoleGreen, kRoleBlue, kRoleAlpha};
  if (channel < 0 || channel >= layout.numChannels) return kRoleUnknown;
  if (layout.isRgba) return kColours[channel];
  const bool isColoured = !layout.palette.IsGrey();
  if (isColoured && channel < 3) return kColours[channel];
  const int sample = layout.SampleOf(channel), numColours = CountColourSamples(layout);
  if (sample < numColours && !isColoured) return RoleOfColour(sample, numColours);
  const int extra = sample - (layout.tags.samplesPerPixel - static_cast<int>(extraSamples.size()));
  const bool isAlpha = extra >= 0 && sample > 0 && IsExtraAlpha(extraSamples[static_cast<std::size_t>(extra)]);
  return isAlpha ? kRoleAlpha : kRoleUnknown;
}

std::vector<std::uint16_t> ReadExtraSamples(TIFF* tiff) {
  std::uint16_t count = 0;
  const std::uint16_t* kinds = nullptr;
  if (!TIFFGetField(tiff, TIFFTAG_EXTRASAMPLES, &count, &kinds) || !kinds) return {};
  return {kinds, kinds + count};
}

TiffItems ParseTiffItems(std::string_view xml) {
  TiffItems items;
  pugi::xml_document document;
  const bool isSafe = xml.size() <= kMaxXmlBytes && FindXmlDanger(xml, XfnGetLimits().nestingDepth).IsEmpty();
  if (!isSafe || !document.load_buffer(xml.data(), xml.size(), pugi::parse_default, pugi::encoding_utf8)) return items;
  for (const pugi::xml_node item : document.child("GDALMetadata").children("Item")) {
    const std::string_view role = item.attribute("role").value(), text = item.child_value();
    const std::optional<int> sample = ParseWhole<int>(item.attribute("sample").value());
    const std::optional<double> number = ParseWhole<double>(text);
    if ((role == "scale" || role == "offset") && sample && number && std::isfinite(*number)) {
      items.numbers.push_back({*sample, role == "scale", *number});
    } else {
      items.texts.push_back({item.attribute("name").value(), Unescape(text), sample.value_or(-1),
                             item.attribute("domain").value(), item.attribute("role").value()});
    }
  }
  return items;
}

void TellTiffNumbers(ZRMBandGTIFF& band, TIFF* tiff) {
  if (tiff) TellNumbers(band, ParseTiffItems(ReadText(tiff, kItemsTag)));
}

void TellTiffTexts(XRSFile& file) {
  const std::vector<ZRMBandGTIFF*> bands = ListBands(file);
  TIFF* const tiff = bands.empty() || !bands.front()->IsExact() ? nullptr : bands.front()->GetFileTIFF();
  if (!tiff) return;
  const TiffItems items = ParseTiffItems(ReadText(tiff, kItemsTag));
  for (ZRMBandGTIFF* band : bands) TellNumbers(*band, items);
  for (tagXMetadataItem each : items.texts) {
    each.band = FindBand(file, bands, each.band);
    file.AddMetadata(std::move(each));
  }
  for (const TextTag& each : kTextTags) {
    const std::string_view text = ReadText(tiff, each.tag);
    if (!text.empty()) file.AddMetadata({each.name, XString(text), -1, {}});
  }
}

}  // namespace zrk
