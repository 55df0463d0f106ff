// A window is read tile by tile. For each tile the area of the reference grid is worked out that has the samples
// wanted, and no others: sample a of a component at level n lies at a * 2^n * dx. The decoder gives the planes of that
// area, and the sink takes its part of each.
//
// Where several threads may work, each takes a tile at a time, with a decoder of its own. In a single tile the decoder
// itself starts the threads. The last decoder of a calling thread is kept, because the next window often lies in the
// same tile, whose bytes the decoder has in memory.
//
// While there is memory for decoded blocks, tiles that are asked for again come from there (`J2kKeptTiles`).
//
// A large area of a file that is small for it is decoded in stripes, so that the decoder's memory stays in proportion
// to the file. Where a stripe has too many components for that, half of them are decoded after the others.

#include "codec/J2kWindowReader.h"

#include "base/Parallel.h"
#include "codec/J2kCost.h"
#include "codec/J2kKeptTiles.h"
#include "codec/J2kPacketWalk.h"
#include "XThread.h"

#include <algorithm>
#include <climits>
#include <mutex>
#include <utility>

namespace zrk {
namespace {

constexpr std::int64_t kFewSamples = 1 << 18;       // for which threads are not worth starting
constexpr std::int64_t kMostKeptBytes = 256 << 20;  // of coded data that a thread may keep
constexpr std::int64_t kSampleBytes = 4;            // of a decoder's planes
constexpr std::int64_t kStripeUnit = 256;           // rows of a level; a stripe has two units at least

J2kRect Unite(const J2kRect& a, const J2kRect& b) {
  if (a.IsEmpty()) return b;
  return {std::min(a.x0, b.x0), std::min(a.y0, b.y0), std::max(a.x1, b.x1), std::max(a.y1, b.y1)};
}

/// The area of the reference grid from the first of these samples to the last.
J2kRect AreaOf(const J2kComponent& component, const J2kRect& samples, int level) {
  const std::int64_t stepX = std::int64_t{component.dx} << level, stepY = std::int64_t{component.dy} << level;
  return {samples.x0 * stepX, samples.y0 * stepY, (samples.x1 - 1) * stepX + 1, (samples.y1 - 1) * stepY + 1};
}

/// The same where the samples are some of a tile's. An area that has all samples of the tile on a side reaches to its
/// edge, because decoders have a shorter way for whole tiles.
J2kRect AreaInTile(const J2kComponent& component, const J2kRect& samples, int level, const J2kRect& all,
                   const J2kRect& tile) {
  J2kRect area = AreaOf(component, samples, level);
  if (samples.x0 == all.x0) area.x0 = tile.x0;
  if (samples.y0 == all.y0) area.y0 = tile.y0;
  if (samples.x1 == all.x1) area.x1 = tile.x1;
  if (samples.y1 == all.y1) area.y1 = tile.y1;
  return area;
}

/// The area of the reference grid that a whole window needs.
J2kRect AreaOf(const J2kHeader& header, const J2kRequest& request) {
  J2kRect area;
  for (std::size_t c = 0; c < request.rects.size(); ++c) {
    if (request.rects[c].IsEmpty()) continue;
    area = Unite(area, AreaOf(header.components[c], request.rects[c], request.level));
  }
  return area;
}

/// The numbers of the tiles that an area touches, row by row.
std::vector<int> ListTiles(const J2kHeader& header, const J2kRect& area) {
  const J2kRect& first = header.firstTile;
  const std::int64_t left = (area.x0 - first.x0) / first.Width(), right = (area.x1 - 1 - first.x0) / first.Width();
  const std::int64_t top = (area.y0 - first.y0) / first.Height(), bottom = (area.y1 - 1 - first.y0) / first.Height();
  std::vector<int> tiles;
  for (std::int64_t y = top; y <= bottom; ++y) {
    for (std::int64_t x = left; x <= right; ++x) tiles.push_back(static_cast<int>(y * header.tilesAcross + x));
  }
  return tiles;
}

/// The samples of an area in some components, or in all where the list is empty.
std::int64_t CountSamples(const J2kHeader& header, const J2kRect& area, int level, std::span<const int> components) {
  std::int64_t count = 0;
  const auto add = [&](int component) {
    const J2kRect rect = header.ReduceRect(area, component, level);
    if (!rect.IsEmpty()) count += rect.Width() * rect.Height();
  };
  std::ranges::for_each(components, add);
  for (int c = 0; components.empty() && c < std::ssize(header.components); ++c) add(c);
  return count;
}

/// The request for the first half of the components that it wants, or for the others.
J2kRequest HalfOf(const J2kRequest& request, bool isFirst) {
  J2kRequest half = request;
  const auto isWanted = [](const J2kRect& rect) { return !rect.IsEmpty(); };
  const auto most = std::ranges::count_if(request.rects, isWanted) / 2;
  std::ptrdiff_t number = 0;
  for (J2kRect& rect : half.rects) {
    if (isWanted(rect) && (number++ < most) != isFirst) rect = {};
  }
  return half;
}

/// A head takes a byte at least. Decoders take heads that are missing for those of empty packets. Heads that stand
/// apart from their data are gone through one by one, as far as that can be done.
bool HasAllHeads(const J2kHeader& header, const J2kReader::Tile& tile, const J2kRect& rect, const J2kCost& cost,
                 const int* cancel) {
  const J2kReader::HeadBytes& heads = tile.heads;
  if (cost.numPackets > static_cast<double>(heads.Count())) return false;
  if (!heads.areInHeaders || !heads.AreKept() || !J2kPacketWalk::CanWalk(tile.coding)) return true;
  J2kPacketWalk walk(header, tile.coding, rect, 0, cancel);
  return ArePackedHeadsWhole(heads.inHeaders, heads.inData, walk);
}

bool Contains(const J2kRect& outer, const J2kRect& inner) {
  return Intersect(outer, inner) == inner;
}

}  // namespace

struct J2kWindowReader::TileWork {
  int tile = 0;
  int level = 0;
  J2kRect rect;                // of the tile on the reference grid
  J2kRect area;                // of it that is needed
  std::vector<J2kRect> parts;  // of the window's samples, by component
  J2kSettings settings;

  bool IsEmpty() const { return area.IsEmpty(); }
};

J2kSink::~J2kSink() = default;

J2kWindowReader::J2kWindowReader(std::shared_ptr<J2kReader> reader)
    : reader_(std::move(reader)), tiles_(std::make_unique<J2kKeptTiles>(reader_->GetHeader())) {}

J2kWindowReader::~J2kWindowReader() = default;

J2kWindowReader::TileWork J2kWindowReader::PlanTile(const J2kRequest& request, int tile) const {
  const J2kHeader& header = reader_->GetHeader();
  TileWork work;
  work.tile = tile;
  work.level = request.level;
  work.rect = header.GetTileRect(tile);
  for (int c = 0; c < std::ssize(header.components); ++c) {
    const auto place = static_cast<std::size_t>(c);
    const J2kRect all = header.ReduceRect(work.rect, c, request.level);
    const J2kRect part = Intersect(request.rects[place], all);
    work.parts.push_back(part);
    if (part.IsEmpty()) continue;
    work.area = Unite(work.area, AreaInTile(header.components[place], part, request.level, all, work.rect));
    work.settings.components.push_back(c);
  }
  if (std::ssize(work.settings.components) == std::ssize(header.components)) work.settings.components.clear();
  work.settings.level = request.level;
  work.settings.isStrict = request.isStrict;
  return work;
}

/// Components that are mixed with each other are decoded together, and each of them must have samples in the area.
int J2kWindowReader::OpenSession(const J2kRequest& request, const TileWork& work, const Worker& worker, XString& err) {
  J2kReader::Tile tile;
  if (!reader_->OpenTile({work.tile, request.level, request.isStrict, worker.cancel}, tile, err)) return 0;
  Session& session = worker.session;
  session = {};
  if (!tile.stream) return 1;
  const J2kHeader& header = reader_->GetHeader();
  const J2kCost cost = EstimateJ2kCost(header, tile.coding, work.rect);
  if (!IsPlausible(cost, tile.numBytes)) {
    err.Format("The file is too short for what tile %d promises", work.tile);
    return 0;
  }
  if (request.isStrict && !HasAllHeads(header, tile, work.rect, cost, worker.cancel)) {
    err.Format("The codestream lacks heads of packets of tile %d", work.tile);
    return 0;
  }
  if (XfnIsStopRequested(worker.cancel)) return 0;
  session.decoder = MakeJ2kDecoder();
  J2kSettings settings = work.settings;
  if (tile.coding.mixesComponents) settings.components.clear();
  if (!session.decoder->Open(std::move(tile.stream), settings, err)) {
    session.decoder.reset();
    return 0;
  }
  session.tile = work.tile;
  session.settings = work.settings;
  session.coding = std::move(tile.coding);
  session.numBytes = tile.numBytes;
  return 1;
}

int J2kWindowReader::DecodePiece(const TileWork& work, const J2kRect& area, Session& session, J2kSink& sink,
                                 XString& err) {
  std::vector<J2kPlane> planes;
  if (!session.decoder->Decode(area, planes, err)) return 0;
  const bool isCentred = session.decoder->LeavesLevelShift();
  for (J2kPlane& plane : planes) {
    const J2kRect inArea = reader_->GetHeader().ReduceRect(area, plane.component, work.level);
    const J2kRect part = Intersect(work.parts[static_cast<std::size_t>(plane.component)], inArea);
    if (part.IsEmpty()) continue;
    if (!plane.samples || !Contains(plane.rect, part)) {
      err = "The codestream's decoder has lost samples";
      return 0;
    }
    plane.isCentred = isCentred && !reader_->GetHeader().components[static_cast<std::size_t>(plane.component)].isSigned;
    sink.Take(plane, part);
  }
  session.decoder->FreePlanes();
  return 1;
}

/// Whether the planes of the lowest stripe are too large for a file so small. Components that are mixed with each other
/// can't be decoded apart.
bool J2kWindowReader::MustHalve(const J2kRequest& request, const TileWork& work, const Session& session) const {
  const auto numWanted = std::ranges::count_if(request.rects, [](const J2kRect& rect) { return !rect.IsEmpty(); });
  if (session.coding.mixesComponents || numWanted < 2) return false;
  J2kRect stripe = work.area;
  stripe.y1 = std::min(stripe.y1, stripe.y0 + (2 * kStripeUnit << work.level));
  const std::int64_t samples = CountSamples(reader_->GetHeader(), stripe, work.level, work.settings.components);
  return samples * kSampleBytes > CountWorkBytes(session.numBytes);
}

/// Stripes have so many rows of the reference grid that each component has samples in each of them.
int J2kWindowReader::DecodeTile(const TileWork& work, const int* cancel, Session& session, J2kSink& sink,
                                XString& err) {
  const J2kHeader& header = reader_->GetHeader();
  J2kRect area = work.area;
  const auto isEmptyIn = [&](const J2kRect& rect) {
    for (int c = 0; c < std::ssize(header.components); ++c) {
      if (header.ReduceRect(rect, c, work.level).IsEmpty()) return true;
    }
    return false;
  };
  if (session.coding.mixesComponents && isEmptyIn(area)) {
    area = work.rect;
    if (isEmptyIn(area)) {
      err.Format("Tile %d has components without samples at this level", work.tile);
      return 0;
    }
  }
  const std::int64_t workBytes = CountWorkBytes(session.numBytes);
  const std::span<const int> decoded =
      session.coding.mixesComponents ? std::span<const int>() : std::span<const int>(work.settings.components);
  const std::int64_t needed = CountSamples(header, area, work.level, decoded) * kSampleBytes;
  if (needed <= workBytes) return DecodePiece(work, area, session, sink, err);
  const std::int64_t unit = kStripeUnit << work.level;
  const std::int64_t rows = std::max(area.Height() / (needed / workBytes + 1), 2 * unit);
  for (std::int64_t y = area.y0; y < area.y1;) {
    if (XfnIsStopRequested(cancel)) return 0;
    const std::int64_t edge = (y + rows) / unit * unit;
    const std::int64_t end = area.y1 - edge < unit ? area.y1 : edge;
    if (!DecodePiece(work, {area.x0, y, area.x1, end}, session, sink, err)) return 0;
    y = end;
  }
  return 1;
}

/// What is not kept is decoded.
int J2kWindowReader::TakeTile(const J2kRequest& request, int tile, const Worker& worker, J2kSink& sink, XString& err) {
  const auto decodeWhole = [&](const J2kRequest& whole, J2kSink& keeping) {
    XString reason;
    return ReadTile(whole, tile, worker, keeping, reason) != 0;
  };
  if (XfnIsStopRequested(worker.cancel)) return 0;
  return tiles_->Give(tile, request, decodeWhole, sink) || ReadTile(request, tile, worker, sink, err);
}

int J2kWindowReader::ReadTile(const J2kRequest& request, int tile, const Worker& worker, J2kSink& sink, XString& err) {
  Session& session = worker.session;
  if (XfnIsStopRequested(worker.cancel)) return 0;
  TileWork work = PlanTile(request, tile);
  if (work.IsEmpty()) return 1;
  const bool isSmall =
      CountSamples(reader_->GetHeader(), work.area, request.level, work.settings.components) < kFewSamples;
  work.settings.numThreads = isSmall ? 1 : worker.numThreads;
  const bool isOpen = session.decoder && session.tile == tile && session.settings == work.settings;
  if (!isOpen && !OpenSession(request, work, worker, err)) return 0;
  if (!session.decoder) {
    for (int c = 0; c < std::ssize(work.parts); ++c) {
      if (!work.parts[static_cast<std::size_t>(c)].IsEmpty()) sink.Miss(c, work.parts[static_cast<std::size_t>(c)]);
    }
    return 1;
  }
  if (MustHalve(request, work, session)) {
    session = {};
    return ReadTile(HalfOf(request, true), tile, worker, sink, err) &&
           ReadTile(HalfOf(request, false), tile, worker, sink, err);
  }
  const int isDone = DecodeTile(work, worker.cancel, session, sink, err);
  if (!isDone || !session.decoder->CanDecodeAgain() || session.numBytes > kMostKeptBytes) session = {};
  return isDone;
}

int J2kWindowReader::Read(const J2kRequest& request, const int* cancel, J2kSink& sink, XString& err) {
  const std::vector<int> tiles = ListTiles(reader_->GetHeader(), AreaOf(reader_->GetHeader(), request));
  const int numTiles = static_cast<int>(tiles.size());
  const int numWorkers = std::min(request.numThreads, numTiles);
  if (numWorkers <= 1) {
    const Worker worker{kept_.Get(), numTiles == 1 ? request.numThreads : 1, cancel};
    return std::ranges::all_of(tiles, [&](int tile) { return TakeTile(request, tile, worker, sink, err) != 0; });
  }
  std::mutex mutex;
  return ForEachInParallel(numWorkers, numTiles, [&](int index, int) {
    Session session;
    XString reason;
    if (TakeTile(request, tiles[static_cast<std::size_t>(index)], {session, 1, cancel}, sink, reason)) return true;
    const std::lock_guard lock(mutex);
    if (err.IsEmpty()) err = reason;
    return false;
  });
}

}  // namespace zrk
