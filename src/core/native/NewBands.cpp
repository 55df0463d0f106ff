// Makes bands from the text of a native raster. The text may be a stranger's, and so it is gone through twice. First
// every number that describes a band is checked: sizes and tiles against the limits, and the offsets and sizes of the
// bodies against the file and against each other. Only then bands are made, each bound to its body, and given their
// fields. The dataset gets them last, all or none.
//
// Two bodies that overlap can't be of our writing. A write to one band would change the other.

#include "base/Checked.h"
#include "core/native/FieldLoad.h"
#include "core/native/NativeHeader.h"
#include "core/native/NativeLoad.h"
#include "core/native/NativeXml.h"
#include "XEPOT2D.h"
#include "XLimits.h"
#include "ZRMBandEPOT.h"

#include <algorithm>
#include <climits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zrk {

namespace {

// Far more bands than any sensor has, and few enough that their records stay small beside a machine's memory.
constexpr std::size_t kMaxBands = 1 << 14;

/// A band as the text describes it.
struct BandText {
  pugi::xml_node element;
  BandLayout layout;
  BandPlace place;
};

bool IsPositiveInt(long value) {
  return 0 < value && value <= INT_MAX;
}

/// Whether an image of this layout is possible and within the limits.
bool IsPossible(const BandLayout& layout) {
  const tagXLimits limits = XfnGetLimits();
  if (!IsPositiveInt(layout.xSize) || !IsPositiveInt(layout.ySize)) return false;
  if (!IsPositiveInt(layout.xTileSize) || !IsPositiveInt(layout.yTileSize)) return false;
  if (layout.levels < 0 || layout.levels > 30 || layout.dataType < 0 || layout.dataType > INT_MAX) return false;
  const int dataSize = XfnGetDataSize(static_cast<int>(layout.dataType));
  if (dataSize <= 0 || layout.xSize > limits.imagePixels / layout.ySize) return false;
  const std::optional<std::int64_t> tileBytes = CheckedMultiply(layout.xTileSize * layout.yTileSize, dataSize);
  return tileBytes && *tileBytes <= limits.decodedTileBytes;
}

/// The bytes of an uncompressed body; 0 where a body of this layout is not possible.
std::int64_t StoreSize(const BandLayout& layout) {
  return XEPOT2D::CalcSize(static_cast<int>(layout.xSize), static_cast<int>(layout.ySize),
                           static_cast<int>(layout.dataType), static_cast<int>(layout.xTileSize),
                           static_cast<int>(layout.yTileSize), static_cast<int>(layout.levels));
}

/// The sentence for what is wrong with a band; empty for a sound one. Without a file the body is not looked for.
XString FindFault(const BandText& band, const BodyFile& body) {
  const int compression = band.layout.compression;
  if (!IsPossible(band.layout)) return "The layout of a band is not possible";
  const bool isPlain = compression == kCompressionNone || compression == kCompressionPlain;
  if (!isPlain && compression != kCompressionTiles) return "The compression of a band is not known";
  // The size of an uncompressed body follows from its layout. That of a compressed body is checked when it is opened.
  const std::int64_t storeSize = isPlain ? StoreSize(band.layout) : band.place.size;
  if (isPlain && storeSize <= 0) return "The layout of a band is not possible";
  if (!body.file) return {};
  const bool isInside = band.place.offset >= kNativeHeaderSize && band.place.size > 0 &&
                        FitsWithin(band.place.offset, band.place.size, body.bodyEnd);
  return isInside && band.place.size == storeSize ? XString() : XString("The data of a band are not in the file");
}

/// Whether two bodies share bytes. In order of their offsets, each has to end before the next begins.
bool HasOverlap(const std::vector<BandText>& bands) {
  std::vector<BandPlace> places;
  places.reserve(bands.size());
  for (const BandText& band : bands) places.push_back(band.place);
  std::ranges::sort(places, {}, &BandPlace::offset);
  for (std::size_t i = 1; i < places.size(); ++i) {
    if (places[i].offset - places[i - 1].offset < places[i - 1].size) return true;
  }
  return false;
}

/// The bands as the text lists them, each checked. None, with a sentence, where one of them is faulty.
std::vector<BandText> ListBands(pugi::xml_node root, const BodyFile& body, XString& err) {
  std::vector<BandText> bands;
  std::string invalidName;
  XString fault;
  for (const pugi::xml_node element : root.children(kTagBand)) {
    BandText& band = bands.emplace_back(BandText{element, {}, {}});
    XmlReader reader(element, invalidName);
    VisitLayout(reader, band.layout);
    VisitPlace(reader, band.place);
    fault = invalidName.empty() ? FindFault(band, body) : InvalidValue(invalidName);
    if (bands.size() > kMaxBands) fault = "The raster has too many bands";
    if (!fault.IsEmpty()) break;
  }
  if (bands.empty()) fault = "No Band found";
  if (fault.IsEmpty() && body.file && HasOverlap(bands)) fault = "The data of two bands overlap";
  if (fault.IsEmpty()) return bands;
  err = fault;
  return {};
}

/// Makes a band, binds it to its store, and reads its fields. Null where the store can't be set up in the file.
std::unique_ptr<ZRMBandEPOT> MakeBand(const BandText& text, const BodyFile& body, ProjectionReader& projections,
                                      std::string& invalidName) {
  auto band = std::make_unique<ZRMBandEPOT>();
  const BandLayout& layout = text.layout;
  const int isSet = band->SetImage(
      body.file, std::max<std::int64_t>(text.place.offset, 0), static_cast<int>(layout.xSize),
      static_cast<int>(layout.ySize), static_cast<int>(layout.dataType), static_cast<int>(layout.xTileSize),
      static_cast<int>(layout.yTileSize), static_cast<int>(layout.levels), layout.compression);
  if (!isSet && body.file) return nullptr;
  // A compressed store tells its own size. It has to be the size that was checked against the other bodies.
  if (body.file && band->GetEPOT()->GetSize() != text.place.size) return nullptr;
  XmlReader reader(text.element, invalidName);
  if (!projections.Read(reader, *band)) invalidName = kTagProjection;
  ReadIdentity(reader, *band);
  ReadDescription(reader, *band);
  return band;
}

using StoreBands = std::vector<std::unique_ptr<ZRMBandEPOT>>;

/// The bands in order. None, with a sentence, where one of them can't be made.
StoreBands MakeBands(const std::vector<BandText>& texts, const BodyFile& body, XString& err) {
  StoreBands bands;
  ProjectionReader projections;
  for (const BandText& text : texts) {
    std::string invalidName;
    auto band = MakeBand(text, body, projections, invalidName);
    if (!band || !invalidName.empty()) {
      err = band ? InvalidValue(invalidName) : XString("The data of a band can't be read");
      return {};
    }
    bands.push_back(std::move(band));
  }
  return bands;
}

}  // namespace

int LoadNewBands(XRSFile& dataset, const pugi::xml_document& document, const BodyFile& body, XString& err) {
  const pugi::xml_node root = document.document_element();
  const std::vector<BandText> texts = ListBands(root, body, err);
  if (texts.empty()) return 0;
  StoreBands bands = MakeBands(texts, body, err);
  if (bands.empty()) return 0;
  DatasetText text(dataset);
  std::string invalidName;
  text.Read(root, static_cast<int>(bands.size()), invalidName);
  if (!invalidName.empty()) {
    err = InvalidValue(invalidName);
    return 0;
  }
  // Room comes first. After it nothing can fail, and so the dataset gets all bands.
  FieldAccess::Bands(dataset).reserve(bands.size());
  for (auto& band : bands) {
    band->SetReadPolicy(dataset.GetReadPolicy());
    dataset.AddBand(band.release());
  }
  text.MoveTo(dataset);
  return 1;
}

}  // namespace zrk
