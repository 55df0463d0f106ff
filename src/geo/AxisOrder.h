#pragma once

namespace zrk {

/// Whether the registry gives the coordinates of a system with north before east, as latitude before longitude. False
/// for a code that it does not know.
bool HasNorthFirst(int epsg);

}  // namespace zrk
