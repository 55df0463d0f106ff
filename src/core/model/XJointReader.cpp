#include "XJointReader.h"

#include "base/OwnReads.h"
#include "ZRMBand.h"

#include <algorithm>

namespace {

/// The first band speaks for all: whether the others share its source is asked of each of them.
XJointReader* FindReader(std::span<ZRMBand* const> bands) {
  return bands.empty() ? nullptr : dynamic_cast<XJointReader*>(bands.front());
}

/// The caller has made sure that the source is not null: bands without one have nothing in common.
bool HasSource(ZRMBand* band, const void* source) {
  const auto* const reader = dynamic_cast<const XJointReader*>(band);
  return reader && reader->GetJointSource() == source;
}

}  // namespace

XJointReader::~XJointReader() = default;

bool XfnHaveJointSource(std::span<ZRMBand* const> bands) {
  const XJointReader* const first = FindReader(bands);
  const void* const source = first ? first->GetJointSource() : nullptr;
  return source && std::ranges::all_of(bands, [source](ZRMBand* band) { return HasSource(band, source); });
}

/// A joint read that fails is followed by single ones: they may still succeed, for example with memory for one band and
/// not for all.
int XfnReadBands(std::span<ZRMBand* const> bands, int x0, int x1, int y0, int y1, int* cancel,
                 std::span<tagXArr2*> out) {
  const zrk::OwnReads own;
  if (out.size() < bands.size()) return 0;
  std::ranges::fill(out, nullptr);
  const bool isJoint = bands.size() > 1 && XfnHaveJointSource(bands);
  if (isJoint && FindReader(bands)->ReadJointly(bands, x0, x1, y0, y1, cancel, out)) return 1;
  for (std::size_t i = 0; i < bands.size(); ++i) {
    if (!bands[i] || !bands[i]->ReadSubset(out[i], 0, x0, x1, y0, y1, cancel) || !out[i]) return 0;
  }
  return 1;
}
