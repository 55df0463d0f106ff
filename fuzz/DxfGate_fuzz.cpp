// The input is a drawing. The gate looks at it with a small and with a larger depth of nesting allowed.

#include "geo/DxfGate.h"
#include "MemoryDisk.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  MemoryDisk disk;
  disk.Add("/fuzz.dxf", {data, size});
  const zrk::ScopedDisk scope(disk);
  XFile file;
  if (!file.Open("/fuzz.dxf", XFile::kRead)) return 0;
  zrk::FindDxfDanger(file, 1);
  zrk::FindDxfDanger(file, 8);
  return 0;
}
