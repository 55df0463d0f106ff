// Takes the text of a level file over into a dataset. A level file belongs to an image that is already open, and so its
// text must fit the bands that are there. It is read into copies of these bands, and into a record beside the dataset.
// Nothing of the image changes until all of the text is known to be valid.
//
// The text gives statistics, the system, and how the bands were taken. Identity, layout and georeference are the
// image's own, even where the text has other values.

#include "core/native/FieldLoad.h"
#include "core/native/NativeLoad.h"
#include "core/native/NativeXml.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace zrk {

namespace {

constexpr char kNotOfTheImage[] = "The level data does not belong to the image";

int CountOf(const pugi::xml_object_range<pugi::xml_named_node_iterator>& elements) {
  return static_cast<int>(std::distance(elements.begin(), elements.end()));
}

/// Whether the text was written for these bands. A level file records the size of the first band and the type of the
/// last for each of them.
bool IsOfTheImage(const XRSFile& dataset, pugi::xml_node root, std::string& invalidName) {
  const auto elements = root.children(kTagBand);
  if (CountOf(elements) != dataset.GetNumOfBands()) return false;
  const ZRMBand& first = *dataset.GetBandAt(0);
  const ZRMBand& last = *dataset.GetBandAt(dataset.GetNumOfBands() - 1);
  return std::all_of(elements.begin(), elements.end(), [&](pugi::xml_node element) {
    XmlReader reader(element, invalidName);
    BandLayout layout;
    VisitLayout(reader, layout);
    return layout.xSize == first.GetXSize() && layout.ySize == first.GetYSize() &&
           layout.dataType == last.GetDataType();
  });
}

using Bands = std::vector<std::unique_ptr<ZRMBand>>;

/// Copies of the dataset's bands with what the text says of each.
Bands ReadBands(const XRSFile& dataset, pugi::xml_node root, std::string& invalidName) {
  Bands bands;
  ProjectionReader projections;
  for (const pugi::xml_node element : root.children(kTagBand)) {
    auto band = std::make_unique<ZRMBand>();
    band->CloneBand(dataset.GetBandAt(static_cast<int>(bands.size())));
    XmlReader reader(element, invalidName);
    if (!projections.Read(reader, *band)) invalidName = kTagProjection;
    ReadDescription(reader, *band);
    bands.push_back(std::move(band));
  }
  return bands;
}

/// Statistics of a complex band are asked of its inner band, which gets a copy.
void CopyStatistics(const ZRMBand& source, ZRMBand* target) {
  if (!target) return;
  target->SetBandMin(source.GetBandMin());
  target->SetBandMax(source.GetBandMax());
  target->SetBandMean(source.GetBandMean());
  target->SetBandStdDev(source.GetBandStdDev());
  target->SetHistogram(source.GetHistogram());
}

void TakeOver(ZRMBand& band, ZRMBand& text) {
  // Only the fields are taken. A band's own way of cloning may take pixels over as well.
  band.ZRMBand::CloneBand(&text);
  if (band.GetShownBand() != &band) CopyStatistics(text, band.GetShownBand());
}

}  // namespace

int LoadLevelFields(XRSFile& dataset, const pugi::xml_document& document, XString& err) {
  const pugi::xml_node root = document.document_element();
  std::string invalidName;
  if (!IsOfTheImage(dataset, root, invalidName)) {
    err = kNotOfTheImage;
    return 0;
  }
  const Bands bands = ReadBands(dataset, root, invalidName);
  DatasetText text(dataset);
  text.Read(root, dataset.GetNumOfBands(), invalidName);
  if (!invalidName.empty()) {
    err = InvalidValue(invalidName);
    return 0;
  }
  for (int i = 0; i < dataset.GetNumOfBands(); ++i)
    TakeOver(*dataset.GetBandAt(i), *bands[static_cast<std::size_t>(i)]);
  text.MoveTo(dataset);
  return 1;
}

}  // namespace zrk
