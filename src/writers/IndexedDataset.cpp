#include "writers/IndexedDataset.h"

#include "base/Failure.h"
#include "XRSFile.h"

#include <algorithm>
#include <span>

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

}  // namespace zrk
