#pragma once

class ZRMBand;

namespace zrk {

/// The rows that a band is best read in from row `y` on: `wanted`, or where it decodes some rows together about as
/// many, up to where it begins the next ones, so that nothing is decoded twice. At least 1; the end of the band is not
/// looked at.
int CountBlockRows(const ZRMBand& band, int y, int wanted);

}  // namespace zrk
