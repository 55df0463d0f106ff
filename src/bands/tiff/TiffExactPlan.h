#pragma once

#include "bands/tiff/TiffLayout.h"
#include "XString.h"

#include <array>
#include <string_view>

namespace zrk {

/// The plan of exact reads. `map` and `rgbaIsOk` are as for `PlanTiff`. The data type is 0 where no type holds the
/// samples; `TellTiffObstacle` has the sentence for that.
TiffLayout PlanTiffExactly(const TiffTags& tags, const TiffColourMap& map, bool rgbaIsOk);

/// Why no exact plan serves the file; empty where one does.
XString TellTiffObstacle(const TiffLayout& layout);

/// The colours of a map, from 0 to 255, each the nearest one to its component of 65,535. A map whose components are all
/// below 256 holds such colours already.
TiffPalette RoundTiffPalette(const TiffColourMap& map);

/// The number that the tag for samples without data writes, such as "-9999", "nan" or "-inf", as a sample of the layout
/// has it. Empty where the text is no number, and where no sample can have it.
std::optional<double> ParseNullSample(std::string_view text, const TiffLayout& layout);

/// Whether the null sample is a value of the band too. Colours are made of other samples.
bool ShowsNullSample(const TiffLayout& layout);

/// The bytes of one sample of a band; those behind its size are 0.
using TiffSampleBytes = std::array<unsigned char, 16>;
/// The sample that a channel shows where the file leaves a block out: the null sample, or 0 without one.
TiffSampleBytes MakeMissingSample(const TiffLayout& layout, int channel);

}  // namespace zrk
