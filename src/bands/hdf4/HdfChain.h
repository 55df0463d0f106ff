#pragma once

#include <cstdint>
#include <functional>

class XFile;

namespace zrk {

/// What lies where in an HDF4 file.
struct HdfDescriptor {
  std::uint16_t tag = 0;
  std::uint16_t reference = 0;
  std::int64_t offset = 0;
  std::int64_t length = 0;
};

/// Tells every descriptor of a file, in the order of its chain of blocks, until `take` answers false. False then, and
/// where the chain comes back to itself, is longer than any real one, or does not lie in the file.
bool WalkHdfChain(const XFile& file, const std::function<bool(const HdfDescriptor&)>& take);

}  // namespace zrk
