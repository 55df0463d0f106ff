// The input is a world file. All edges that follow from it are worked out, for images of no size up to a very large
// one, and then the place that exact reads take from it.

#include "base/WorldLines.h"
#include "MemoryDisk.h"
#include "XWorldFile.h"

#include <cstdint>

namespace {

/// What the exact policy makes of the file: a transform that is finite, or a sentence.
void FindExactly() {
  std::optional<zrk::WorldLines> lines;
  XString err;
  const int isRead = zrk::FindWorldFile(zrk::ListWorldFiles("/fuzz.bmp", ".bmw"), lines, err);
  if (isRead ? !lines || !zrk::TransformOf(*lines) : err.IsEmpty()) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  MemoryDisk disk;
  disk.Add("/fuzz.bmw", {data, size});
  const zrk::ScopedDisk scope(disk);
  FindExactly();
  XWorldFile worldFile;
  if (!worldFile.Read("/fuzz.bmw")) return 0;
  volatile double sum = 0.0;
  for (const int n : {0, 1, 1 << 30}) {
    sum = sum + worldFile.Left(n) + worldFile.Right(n) + worldFile.Top(n) + worldFile.Bottom(n);
  }
  sum = sum + worldFile.XPixelSize() + worldFile.YPixelSize();
  return 0;
}
