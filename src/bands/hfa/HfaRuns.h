#pragma once

#include <cstdint>
#include <span>

namespace zrk {

/// Unpacks a compressed block of `numSamples` samples of 1, 2 or 4 bytes each into `out`. False where it is damaged or
/// has another number of samples; what `out` holds is undefined then.
bool UnpackHfaRuns(std::span<const unsigned char> coded, int sampleBytes, std::int64_t numSamples, unsigned char* out);

}  // namespace zrk
