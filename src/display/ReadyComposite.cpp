// Turns the settings of a composite into what a draw needs. All choices are made here, once, because draws of several
// threads share the result. The choices are which bands take part, which byte of a pixel each band gives, and how far
// each band reaches.

#include "display/ReadyComposite.h"

#include "base/DataTypeVisit.h"
#include "base/ReadError.h"
#include "ZRMBand.h"

#include <algorithm>
#include <limits>
#include <type_traits>

namespace zrk {

const CompositeSettings::Band* CompositeSettings::First() const {
  for (const Band& band : bands) {
    if (band.band) return &band;
  }
  return nullptr;
}

int CompositeSettings::CountBands() const {
  return static_cast<int>(std::count_if(bands.begin(), bands.end(), [](const Band& band) { return band.band; }));
}

/// A range that was set counts as it is, also where it reaches beyond the bands.
Extent CompositeSettings::GetDrawRange() const {
  if (drawRange && First()) return *drawRange;
  Extent whole;
  for (const Band& band : bands) {
    if (band.band) whole.GrowTo(ExtentOf(band));
  }
  return whole;
}

/// All four corners count, because a turned band reaches farthest with any of them.
Extent ExtentOf(const CompositeSettings::Band& band) {
  const double xSize = band.band->GetXSize(), ySize = band.band->GetYSize();
  Extent extent;
  for (const double column : {0.0, xSize}) {
    for (const double row : {0.0, ySize}) extent.GrowTo(band.toWorld.U(column, row), band.toWorld.V(column, row));
  }
  return extent;
}

/// A band alone gives all three bytes of a pixel, and so does the one behind a colour table.
std::unique_ptr<const ReadyComposite> ReadyComposite::Make(const CompositeSettings& settings) {
  auto ready = std::make_unique<ReadyComposite>();
  const CompositeSettings::Band* const first = settings.First();
  const bool isAlone = settings.CountBands() == 1;
  ready->isTable = settings.mode == kModeTable;
  for (int index = 0; index < kCompositeBands; ++index) {
    const CompositeSettings::Band& band = settings.bands[static_cast<std::size_t>(index)];
    const bool isLeftOut = ready->isTable && &band != first;
    if (!band.band || band.settings.isHidden || isLeftOut) continue;
    if (!ready->Add(index, settings)) return nullptr;
    ready->bandOfByte[static_cast<std::size_t>(2 - index)] = index;
    if (isAlone || ready->isTable) ready->bandOfByte = {index, index, index};
  }
  if (!first) return ready;
  if (settings.opacity.band && !ready->AddOpacity(settings)) return nullptr;
  for (std::size_t i = 0; i < ready->table.size(); ++i) {
    const XColour colour = first->settings.clt[i];
    ready->table[i] = {static_cast<unsigned char>(colour >> 16), static_cast<unsigned char>(colour >> 8),
                       static_cast<unsigned char>(colour)};
  }
  return ready;
}

namespace {

/// Whether the band has pixels and a place for them.
bool CanBePainted(const CompositeSettings::Band& source) {
  if (source.toPixels && IsScalar(source.band->GetDataType())) return true;
  NoteReadError("The band has no pixels that can be drawn");
  return false;
}

/// The system of the first band counts for all: a composite is drawn as one.
PaintedBand MakePainted(const CompositeSettings::Band& source, const BandLook& look,
                        const CompositeSettings& settings) {
  const ZRMBand& band = *source.band;
  PaintedBand painted;
  painted.band = source.band;
  painted.look = &look;
  painted.toPixels = *source.toPixels;
  painted.extent = ExtentOf(source);
  painted.limits = {0.0, static_cast<double>(band.GetXSize()), 0.0, static_cast<double>(band.GetYSize())};
  if (settings.drawRange) painted.limits = LimitsOf(band, painted.toPixels, *settings.drawRange);
  painted.isCircling = settings.First()->band->GetSR()->IsGeographic() != 0;
  return painted;
}

/// The sample that hides all that lies behind it.
double LargestOf(int dataType) {
  double largest = 1.0;
  VisitDataType(dataType, [&](auto zero) {
    using Sample = decltype(zero);
    if constexpr (std::is_integral_v<Sample>) largest = static_cast<double>(std::numeric_limits<Sample>::max());
  });
  return largest;
}

}  // namespace

bool ReadyComposite::Add(int index, const CompositeSettings& settings) {
  const CompositeSettings::Band& source = settings.bands[static_cast<std::size_t>(index)];
  if (!CanBePainted(source)) return false;
  ZRMBand& band = *source.band;
  tagXSubsetStatistics statistics;
  const BandSettings& asked = source.settings;
  if (!FindStatistics(band, asked.stretchType, source.subset ? &*source.subset : nullptr, statistics)) return false;
  auto& look = looks[static_cast<std::size_t>(index)];
  look.emplace(asked, band.GetDataType(), band.GetNullValue(), statistics);
  bands[static_cast<std::size_t>(index)] = MakePainted(source, *look, settings);
  return true;
}

/// A null value would be a sample without opacity, which 0 is already.
bool ReadyComposite::AddOpacity(const CompositeSettings& settings) {
  const CompositeSettings::Band& source = settings.opacity;
  if (!CanBePainted(source)) return false;
  BandSettings whole;
  whole.stretchType = kStretchCut;
  whole.cutMax = settings.opaqueSample > 0.0 ? settings.opaqueSample : LargestOf(source.band->GetDataType());
  opacityLook.emplace(whole, source.band->GetDataType(), kNotSet, tagXSubsetStatistics());
  opacity = MakePainted(source, *opacityLook, settings);
  return true;
}

}  // namespace zrk
