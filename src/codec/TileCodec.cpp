// The coding of tiles, one at a time and apart from files. docs/FORMATS.md shows the three codings of a blob.
//
// LERC bounds the error of every sample. It does not code bytes by their frequency, and zstd does that behind it where
// the result is shorter. Reals that must lose nothing go to zstd alone, as planes of bytes of equal weight: LERC knows
// no infinity and no NaN, and takes zeros of both signs for one (docs/decisions/0012).
//
// A blob may come from a stranger. It is decoded only when its frame tells a size that fits the tile, its LERC
// structure is sound, and its shape is that of the tile. Each thread keeps its contexts and rooms from tile to tile,
// and nothing is shared between threads.

#include "codec/TileCodec.h"

#include "base/DataTypeVisit.h"
#include "codec/LercGate.h"

#include <Lerc_c_api.h>
#include <zstd.h>
#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <type_traits>

namespace zrk {
namespace {

/// zstd's quickest level of the usual ones. Most of the saving is LERC's.
constexpr int kZstdLevel = 1;

/// The version of LERC's blobs, 2.5 by its own count. The next one differs only in reals that lose nothing, which don't
/// go to LERC here.
constexpr int kLercVersion = 5;

/// By how much a blob may be larger than its samples: headers, and data that don't compress.
constexpr std::size_t kBlobSlack = 4096;

/// LERC's number for a data type. It counts signed types before unsigned ones.
unsigned LercType(int dataType) {
  constexpr std::array<unsigned, 9> kTypes = {0, 1, 0, 3, 2, 5, 4, 6, 7};
  return kTypes[static_cast<std::size_t>(dataType)];
}

std::size_t TileBytes(int dataType, int width, int height) {
  return static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
         static_cast<std::size_t>(XfnGetDataSize(dataType));
}

template <class Sample>
using BitsOf = std::conditional_t<sizeof(Sample) == 4, std::uint32_t, std::uint64_t>;

/// The largest of the samples without their signs. It is an infinity or a NaN where one of the samples is. Without the
/// sign, reals have the order of their bits, so that whole numbers are compared.
template <class Sample>
Sample FindLargest(const Sample* samples, std::size_t count) {
  BitsOf<Sample> largest = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const auto bits = static_cast<BitsOf<Sample>>(std::bit_cast<BitsOf<Sample>>(samples[i]) << 1);
    largest = bits > largest ? bits : largest;
  }
  return std::bit_cast<Sample>(static_cast<BitsOf<Sample>>(largest >> 1));
}

/// The bound that LERC is told so that a tile keeps `maxError`. LERC's result is rounded once more, to a sample, which
/// may add half a step between neighbouring reals of the largest size. So a step is taken off. The bound is negative
/// for a tile that LERC does not get: one with an infinity or a NaN, and one where a step is not small beside the
/// bound.
double BoundFor(const void* samples, int dataType, std::size_t numBytes, double maxError) {
  double bound = maxError;
  VisitDataType(dataType, [&](auto zero) {
    using Sample = decltype(zero);
    if constexpr (std::is_floating_point_v<Sample>) {
      const Sample largest = FindLargest(static_cast<const Sample*>(samples), numBytes / sizeof(Sample));
      const double step = static_cast<double>(std::nextafter(largest, std::numeric_limits<Sample>::infinity())) -
                          static_cast<double>(largest);
      bound = std::isfinite(largest) && maxError >= 4.0 * step ? maxError - step : -1.0;
    }
  });
  return bound;
}

/// Room that only grows. A vector would fill it with zeros that are written over at once.
class Room {
 public:
  unsigned char* Reserve(std::size_t numBytes) {
    if (numBytes > size_) {
      bytes_ = std::make_unique_for_overwrite<unsigned char[]>(numBytes);
      size_ = numBytes;
    }
    return bytes_.get();
  }

 private:
  std::unique_ptr<unsigned char[]> bytes_;
  std::size_t size_ = 0;
};

using Bytes = std::span<const unsigned char>;

/// What a thread keeps from tile to tile, because contexts and rooms are large.
struct Desk {
  std::unique_ptr<ZSTD_CCtx, decltype(&ZSTD_freeCCtx)> coder{ZSTD_createCCtx(), &ZSTD_freeCCtx};
  std::unique_ptr<ZSTD_DCtx, decltype(&ZSTD_freeDCtx)> decoder{ZSTD_createDCtx(), &ZSTD_freeDCtx};
  Room lerc;
  Room frame;
  Room planes;
};

Desk& ThreadsDesk() {
  thread_local Desk desk;
  return desk;
}

/// A frame in the desk's room; empty where zstd fails.
Bytes Deflate(Bytes bytes, Desk& desk) {
  const std::size_t bound = ZSTD_compressBound(bytes.size());
  unsigned char* const frame = desk.frame.Reserve(bound);
  if (!desk.coder) return {};
  const std::size_t size = ZSTD_compressCCtx(desk.coder.get(), frame, bound, bytes.data(), bytes.size(), kZstdLevel);
  return ZSTD_isError(size) ? Bytes() : Bytes(frame, size);
}

/// Whether the bytes are one frame of today's form. zstd still reads older forms, with decoders that few look after.
bool IsOneFrame(Bytes bytes) {
  constexpr std::array<unsigned char, 4> kZstdMark = {0x28, 0xB5, 0x2F, 0xFD};
  return bytes.size() > kZstdMark.size() && std::ranges::equal(bytes.first(kZstdMark.size()), kZstdMark) &&
         ZSTD_findFrameCompressedSize(bytes.data(), bytes.size()) == bytes.size();
}

/// Unpacks a frame into `out`. The frame must tell its content's size, and that must be at most `mostBytes`.
bool Inflate(Bytes frame, std::size_t mostBytes, std::vector<unsigned char>& out) {
  if (!IsOneFrame(frame)) return false;
  const unsigned long long size = ZSTD_getFrameContentSize(frame.data(), frame.size());
  if (size > mostBytes) return false;  // the two values that mean failure are larger than any size
  out.resize(static_cast<std::size_t>(size));
  ZSTD_DCtx* const decoder = ThreadsDesk().decoder.get();
  return decoder && ZSTD_decompressDCtx(decoder, out.data(), out.size(), frame.data(), frame.size()) == size;
}

/// A LERC blob in the desk's room; empty where LERC fails.
Bytes EncodeLerc(const void* samples, int dataType, int width, int height, double maxError, Desk& desk) {
  const std::size_t room = 2 * TileBytes(dataType, width, height) + kBlobSlack;
  unsigned char* const blob = desk.lerc.Reserve(room);
  std::memset(blob, 0, room);  // LERC does not write all bytes of a blob, and the same samples must give the same ones
  unsigned numBytes = 0;
  const lerc_status status = lerc_encodeForVersion(samples, kLercVersion, LercType(dataType), 1, width, height, 1, 0,
                                                   nullptr, maxError, blob, static_cast<unsigned>(room), &numBytes);
  return status == 0 ? Bytes(blob, numBytes) : Bytes();
}

/// Whether a blob has the type and the shape of a tile. LERC fills the caller's samples by the blob's shape.
bool IsBlobOf(Bytes blob, int dataType, int width, int height) {
  enum { kVersion, kType, kDepth, kCols, kRows, kBands, kValid, kSize, kMasks, kNumInfos };
  std::array<unsigned, kNumInfos> info{};
  const auto size = static_cast<unsigned>(blob.size());
  if (lerc_getBlobInfo(blob.data(), size, info.data(), nullptr, kNumInfos, 0) != 0) return false;
  return info[kType] == LercType(dataType) && info[kDepth] == 1 && info[kBands] == 1 && info[kMasks] == 0 &&
         info[kCols] == static_cast<unsigned>(width) && info[kRows] == static_cast<unsigned>(height) &&
         info[kValid] == info[kCols] * info[kRows] && info[kSize] <= size;
}

bool DecodeLerc(Bytes blob, int dataType, int width, int height, void* out) {
  if (!IsSoundLerc(blob, kLercVersion) || !IsBlobOf(blob, dataType, width, height)) return false;
  return lerc_decode(blob.data(), static_cast<unsigned>(blob.size()), 0, nullptr, 1, width, height, 1,
                     LercType(dataType), out) == 0;
}

/// Brings bytes of equal weight together. They are alike in neighbouring samples, and so zstd finds more to save.
template <class Sample>
void SplitPlanes(const unsigned char* samples, std::size_t count, unsigned char* planes) {
  for (std::size_t k = 0; k < sizeof(Sample); ++k, planes += count) {
    for (std::size_t i = 0; i < count; ++i) planes[i] = samples[i * sizeof(Sample) + k];
  }
}

template <class Sample>
void JoinPlanes(const unsigned char* planes, std::size_t count, unsigned char* samples) {
  for (std::size_t k = 0; k < sizeof(Sample); ++k, planes += count) {
    for (std::size_t i = 0; i < count; ++i) samples[i * sizeof(Sample) + k] = planes[i];
  }
}

bool Keep(TileCoding coding, Bytes bytes, TileBlob& blob) {
  blob.coding = coding;
  blob.bytes.assign(bytes.begin(), bytes.end());
  return !bytes.empty();
}

}  // namespace

bool EncodeTile(const void* samples, int dataType, int width, int height, double maxError, TileBlob& blob) {
  const std::size_t numBytes = TileBytes(dataType, width, height);
  Desk& desk = ThreadsDesk();
  const double bound = BoundFor(samples, dataType, numBytes, maxError);
  // LERC does not get this tile. It is kept bit for bit, whatever error is allowed.
  if (bound < 0.0) {
    unsigned char* const planes = desk.planes.Reserve(numBytes);
    VisitDataType(dataType, [&](auto zero) {
      using Sample = decltype(zero);
      SplitPlanes<Sample>(static_cast<const unsigned char*>(samples), numBytes / sizeof(Sample), planes);
    });
    return Keep(TileCoding::kPlanesZstd, Deflate({planes, numBytes}, desk), blob);
  }
  const Bytes lerc = EncodeLerc(samples, dataType, width, height, bound, desk);
  if (lerc.empty()) return false;
  const Bytes frame = Deflate(lerc, desk);
  const bool isSmaller = !frame.empty() && frame.size() < lerc.size();
  return Keep(isSmaller ? TileCoding::kLercZstd : TileCoding::kLerc, isSmaller ? frame : lerc, blob);
}

bool DecodeTile(std::span<const unsigned char> blob, TileCoding coding, int dataType, int width, int height, void* out,
                TileRoom& room) {
  const std::size_t numBytes = TileBytes(dataType, width, height);
  switch (coding) {
    case TileCoding::kLerc:
      return DecodeLerc(blob, dataType, width, height, out);
    case TileCoding::kLercZstd:
      return Inflate(blob, numBytes + kBlobSlack, room) && DecodeLerc(room, dataType, width, height, out);
    case TileCoding::kPlanesZstd:
      if (!Inflate(blob, numBytes, room) || room.size() != numBytes) return false;
      return VisitDataType(dataType, [&](auto zero) {
        using Sample = decltype(zero);
        JoinPlanes<Sample>(room.data(), numBytes / sizeof(Sample), static_cast<unsigned char*>(out));
      });
  }
  return false;
}

}  // namespace zrk
