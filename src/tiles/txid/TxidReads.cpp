// A thread has two results: its last window, and its last overview, which is the whole image at a level above 0. Each
// is answered again without any work.
//
// Exact reads take everything else from the store. Compatible reads make an overview out of what the thread has
// already, by taking the nearest pixels, and know single pixels of the last window only. Steps between the pixels of an
// overview are whole numbers: one that is larger than its source shows one pixel of it everywhere.

#include "tiles/txid/TxidReads.h"

#include "base/ReadError.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace zrk {
namespace {

constexpr int kLastUsableLevel = 3;  // overviews above it may be flat

tagXArr2* ChannelOf(TxidPlanes& planes, int channel) {
  if (channel < 0 || channel >= kNumPlanes) return nullptr;
  tagXArr2& plane = planes[static_cast<std::size_t>(channel)];
  return plane.data ? &plane : nullptr;
}

bool HasWindow(const ReadRequest& one, const ReadRequest& other) {
  return one.x0 == other.x0 && one.x1 == other.x1 && one.y0 == other.y0 && one.y1 == other.y1;
}

bool Holds(const ReadRequest& window, int x, int y) {
  return window.x0 <= x && x <= window.x1 && window.y0 <= y && y <= window.y1;
}

/// The asked channel of a pixel, since no other can be seen of it. False where the planes have no such pixel, as at the
/// rims of a window that a level cuts.
bool TakePixel(const TxidPlanes& from, std::int64_t x, std::int64_t y, int channel, TxidPlanes& to) {
  const auto k = static_cast<std::size_t>(channel);
  const tagXArr2& plane = from[k];
  if (!plane.data || x >= plane.xSize || y >= plane.ySize) return false;
  if (!to.Alloc(1, 1)) return false;
  *to[k].data = plane.Row(static_cast<int>(y))[x];
  return true;
}

void TakeNearest(const tagXArr2& source, tagXArr2& result) {
  const std::int64_t xStep = source.xSize / result.xSize, yStep = source.ySize / result.ySize;
  for (int y = 0; y < result.ySize; ++y) {
    const unsigned char* const from = source.Row(static_cast<int>(std::min<std::int64_t>(y * yStep, source.ySize - 1)));
    unsigned char* const to = result.Row(y);
    for (int x = 0; x < result.xSize; ++x) to[x] = from[std::min<std::int64_t>(x * xStep, source.xSize - 1)];
  }
}

void CopyPlanes(const TxidPlanes& from, TxidPlanes& to) {
  if (!to.Alloc(from[0].xSize, from[0].ySize)) return;
  for (std::size_t k = 0; k < kNumPlanes; ++k) {
    std::memcpy(to[k].data, from[k].data,
                static_cast<std::size_t>(to[k].xSize) * static_cast<std::size_t>(to[k].ySize));
  }
}

}  // namespace

/// A thread that last read another image of the band has nothing of this one.
TxidReads::Memory& TxidReads::Current() {
  Memory& memory = memories_.Get();
  if (memory.image != image_) {
    memory.last = {};
    memory.held = {};
    memory.heldOverview = -1;
    memory.subset.Free();
    memory.minimap.Free();
    memory.image = image_;
  }
  return memory;
}

TxidReads::Memory* TxidReads::FindCurrent() const {
  Memory* const memory = memories_.Find();
  return memory && memory->image == image_ ? memory : nullptr;
}

tagXArr2* TxidReads::GetSubset(int channel) const {
  Memory* const memory = FindCurrent();
  return memory ? ChannelOf(memory->subset, channel) : nullptr;
}

tagXArr2* TxidReads::GetMinimap(int channel) const {
  Memory* const memory = FindCurrent();
  return memory ? ChannelOf(memory->minimap, channel) : nullptr;
}

TxidLast TxidReads::GetLast() const {
  const Memory* const memory = FindCurrent();
  return memory ? memory->last : TxidLast{};
}

void TxidReads::SetLast(const TxidLast& last) {
  TxidLast& mine = Current().last;
  if (last.subset.level != -1) mine.subset = last.subset;
  if (last.minimapLevel != -1) mine.minimapLevel = last.minimapLevel;
}

bool TxidReads::IsBlank(bool isExact) const {
  if (!isExact) return isBlank_;
  const Memory* const memory = FindCurrent();
  return memory && memory->isBlank;
}

void TxidReads::Forget() {
  ++image_;
  isBlank_ = false;
}

tagXArr2* TxidReads::Read(const TxidStore& store, const TxidRequest& request) {
  Memory& memory = Current();
  return store.isExact ? ReadExactly(store, request, memory) : ReadCompatibly(store, request, memory);
}

/// A read that fails leaves no result that a later request could be answered with.
bool TxidReads::ReadInto(const TxidStore& store, const TxidRequest& request, Memory& memory, TxidPlanes& planes) {
  TxidWindow window(store, memory.scratch, planes);
  bool isRead = false;
  try {
    isRead = planes.Alloc(request.width, request.height) && window.Read(request.subset, request.cancel);
  } catch (const std::bad_alloc&) {
    NoteReadError(kReadNoMemory);
  }
  isBlank_ = memory.isBlank = window.IsBlank();
  if (!isRead) planes.Free();
  return isRead;
}

tagXArr2* TxidReads::ReadExactly(const TxidStore& store, const TxidRequest& request, Memory& memory) {
  if (request.IsPixel()) return ReadPixelExactly(store, request, memory);
  const ReadRequest& asked = request.subset;
  const bool isOverview = request.IsOverview();
  TxidPlanes& planes = isOverview ? memory.minimap : memory.subset;
  bool& isBlank = isOverview ? memory.isMinimapBlank : memory.isSubsetBlank;
  const bool isHeld = isOverview ? memory.heldOverview == asked.level : memory.held == asked;
  if (isHeld && planes.HasData()) {
    memory.isBlank = isBlank;
    return ChannelOf(planes, request.channel);
  }
  if (!ReadInto(store, request, memory, planes)) return nullptr;
  isBlank = memory.isBlank;
  if (isOverview) {
    memory.heldOverview = asked.level;
  } else {
    memory.held = asked;
  }
  SetLast({asked, isOverview ? asked.level : -1});
  return ChannelOf(planes, request.channel);
}

/// Pixels of a window of full resolution are there already. Any other is read without giving up that window.
tagXArr2* TxidReads::ReadPixelExactly(const TxidStore& store, const TxidRequest& request, Memory& memory) {
  const ReadRequest& held = memory.held;
  const int x = request.subset.x0, y = request.subset.y0;
  const bool isThere = held.level == 0 && Holds(held, x, y) &&
                       TakePixel(memory.subset, x - held.x0, y - held.y0, request.channel, memory.pixel);
  if (!isThere && !ReadInto(store, request, memory, memory.pixel)) return nullptr;
  return ChannelOf(memory.pixel, request.channel);
}

tagXArr2* TxidReads::ReadCompatibly(const TxidStore& store, const TxidRequest& request, Memory& memory) {
  if (request.IsPixel()) return ProbePixel(request, memory);
  isBlank_ = true;
  if (request.IsOverview()) {
    const bool isHeld = request.subset.level == memory.last.minimapLevel && memory.minimap.HasData();
    if (isHeld) return ChannelOf(memory.minimap, request.channel);
    TxidPlanes* const source = FindSource(request, memory);
    if (source) return MakeOverview(request, memory, *source);
  }
  if (request.subset == memory.last.subset && memory.subset.HasData()) return ChannelOf(memory.subset, request.channel);
  return ReadStore(store, request, memory);
}

/// The store is not touched: a pixel is known where the thread's last window has it.
tagXArr2* TxidReads::ProbePixel(const TxidRequest& request, Memory& memory) {
  const ReadRequest& last = memory.last.subset;
  const int x = request.subset.x0, y = request.subset.y0;
  const bool isThere = 0 <= last.level && last.level <= kLastUsableLevel && Holds(last, x, y) &&
                       TakePixel(memory.subset, (std::int64_t{x} - last.x0) >> last.level,
                                 (std::int64_t{y} - last.y0) >> last.level, request.channel, memory.pixel);
  if (isThere) return ChannelOf(memory.pixel, request.channel);
  NoteReadError("The pixel does not lie in the last window of this thread");
  return nullptr;
}

/// What an overview can be made of; null where it has to be read.
TxidPlanes* TxidReads::FindSource(const TxidRequest& request, Memory& memory) {
  if (HasWindow(memory.last.subset, request.subset) && memory.subset.HasData()) return &memory.subset;
  const int level = memory.last.minimapLevel;
  if (level == -1 || (level > kLastUsableLevel && request.subset.level <= kLastUsableLevel)) return nullptr;
  return memory.minimap.HasData() ? &memory.minimap : nullptr;
}

/// The level is remembered with the overview, so that one asked again has its right size.
tagXArr2* TxidReads::MakeOverview(const TxidRequest& request, Memory& memory, TxidPlanes& source) {
  TxidPlanes moved;
  const bool isInPlace = &source == &memory.minimap;
  if (isInPlace) std::swap(moved, memory.minimap);
  memory.last.minimapLevel = -1;
  if (!memory.minimap.Alloc(request.width, request.height)) return nullptr;
  const TxidPlanes& from = isInPlace ? moved : source;
  for (std::size_t k = 0; k < kNumPlanes; ++k) TakeNearest(from[k], memory.minimap[k]);
  memory.last.minimapLevel = request.subset.level;
  return ChannelOf(memory.minimap, request.channel);
}

/// The first overview of a thread is its first window as well.
tagXArr2* TxidReads::ReadStore(const TxidStore& store, const TxidRequest& request, Memory& memory) {
  const bool isOverview = request.IsOverview();
  TxidPlanes& planes = isOverview ? memory.minimap : memory.subset;
  if (!ReadInto(store, request, memory, planes)) {
    (isOverview ? memory.last.minimapLevel : memory.last.subset.level) = -1;
    return nullptr;
  }
  if (isOverview && memory.last.subset.level == -1) CopyPlanes(planes, memory.subset);
  SetLast({request.subset, isOverview ? request.subset.level : -1});
  return ChannelOf(planes, request.channel);
}

}  // namespace zrk
