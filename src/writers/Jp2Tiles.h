#pragma once

#include "codec/J2kEncoder.h"
#include "writers/Jp2Strip.h"
#include "XString.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <vector>

class XThread;

namespace zrk {

class NewJp2;
class PartsInOrder;
struct Jp2Job;

/// The tiles of a save: read, coded, and written one behind the other.
class Jp2Tiles {
 public:
  /// All of these have to outlive the object; the thread may be null. The encoder is ready.
  Jp2Tiles(const Jp2Job& job, const J2kEncoder& encoder, NewJp2& file, XThread* thread);

  /// Does it, on so many threads. False with the reason in `err`, and without one where the thread was stopped. The
  /// bytes of the file do not depend on the number of threads.
  bool Write(int numThreads, XString& err);
  bool WasStopped() const { return wasStopped_; }
  /// The length of each tile-part.
  const std::vector<std::uint32_t>& GetPartBytes() const { return partBytes_; }

 private:
  bool IsStopped() const;
  bool Report();
  bool WriteStrip(int firstTile, int numTiles, int numThreads);
  bool WriteTile(int tile, PartsInOrder& parts, int numThreads);
  bool WritePart(int tile, const std::vector<unsigned char>& part);
  bool Fail(const XString& sentence);

  const Jp2Job& job_;
  const J2kEncoder& encoder_;
  NewJp2& file_;
  XThread* thread_;
  Jp2Strip strip_;
  std::vector<std::uint32_t> partBytes_;
  std::int64_t pixelsRead_ = 0;
  std::atomic<std::int64_t> pixelsCoded_ = 0;
  std::atomic<bool> wasStopped_ = false;
  std::mutex mutex_;  // of the reason, which any thread may give
  XString reason_;
};

}  // namespace zrk
