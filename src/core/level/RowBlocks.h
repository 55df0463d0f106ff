#pragma once

class ZRMBand;

namespace zrk {

/// The number of rows in which a band is best read from row `y` on. It is `wanted` for most bands. If the band decodes
/// several rows together, it is about `wanted` and ends where the next decoding begins, so that nothing is decoded
/// twice. At least 1; the end of the band is not looked at.
int CountBlockRows(const ZRMBand& band, int y, int wanted);

}  // namespace zrk
