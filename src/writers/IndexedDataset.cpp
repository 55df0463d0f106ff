#include "writers/IndexedDataset.h"

#include "base/Failure.h"
#include "XDataType.h"
#include "XRSFile.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <utility>

namespace zrk {
namespace {

constexpr XColourRole kColours[] = {kRoleRed, kRoleGreen, kRoleBlue}, kGrey[] = {kRoleGrey};

/// What the first band shows of a palette; null where it shows nothing of one.
XPaletteReader* FindReader(const XRSFile& file) {
  auto* const reader = dynamic_cast<XPaletteReader*>(file.GetBandAt(0));
  return reader && reader->GetPaletteSource() ? reader : nullptr;
}

/// Whether the bands have these roles, and all come of the source.
bool HaveRoles(const XRSFile& file, std::span<const XColourRole> roles, const void* source) {
  if (file.GetNumOfBands() != static_cast<int>(roles.size())) return false;
  int index = 0;
  return std::ranges::all_of(roles, [&](XColourRole role) {
    const ZRMBand& band = *file.GetBandAt(index++);
    const auto* const reader = dynamic_cast<const XPaletteReader*>(&band);
    return band.GetColourRole() == role && reader && reader->GetPaletteSource() == source;
  });
}

/// Texts of any of the colours are those of the one sample behind them.
void CopyTexts(const XRSFile& source, XRSFile& target) {
  for (tagXMetadataItem item : source.GetMetadata()) {
    item.band = std::min(item.band, 0);
    target.AddMetadata(std::move(item));
  }
}

}  // namespace

bool MakeIndexedDataset(const XRSFile& source, IndexedDataset& indexed, XString& err) {
  XPaletteReader* const reader = FindReader(source);
  if (!reader) return true;
  const void* const palette = reader->GetPaletteSource();
  if (!HaveRoles(source, kColours, palette) && !HaveRoles(source, kGrey, palette)) return true;
  std::unique_ptr<ZRMBand> band = reader->MakeIndexBand();
  if (!band) return FailWith(err, "The numbers of the palette's entries can't be read");
  indexed.file = std::make_unique<XRSFile>();
  indexed.file->SetReadPolicy(source.GetReadPolicy());
  indexed.file->SetName(source.GetName());
  indexed.file->SetFilePath(source.GetFilePath());
  indexed.file->AddBand(band.release());
  CopyTexts(source, *indexed.file);
  indexed.colours = std::make_shared<const tagXColourMap>(reader->GetColourMap());
  return true;
}

/// 257 times a byte uses the full range of 16 bits.
std::shared_ptr<const tagXColourMap> ColoursOfClasses(const ZRMBand& band) {
  constexpr int kFullScale = 257;
  const bool isByte = band.GetDataType() == kPint08;
  if (band.GetNumOfGIS() == 0 || (!isByte && band.GetDataType() != kPint16)) return nullptr;
  const std::size_t numEntries = isByte ? 1 << 8 : 1 << 16;
  tagXColourMap map;
  for (auto* const each : {&map.red, &map.green, &map.blue}) each->resize(numEntries);
  for (int i = 0; i < band.GetNumOfGIS(); ++i) {
    const tagXRSGIS& gis = *band.GetGISAt(i);
    const auto number = static_cast<std::size_t>(gis.index);
    if (gis.index < 0 || number >= numEntries) continue;
    map.red[number] = static_cast<std::uint16_t>(gis.red * kFullScale);
    map.green[number] = static_cast<std::uint16_t>(gis.green * kFullScale);
    map.blue[number] = static_cast<std::uint16_t>(gis.blue * kFullScale);
  }
  return std::make_shared<const tagXColourMap>(std::move(map));
}

}  // namespace zrk
