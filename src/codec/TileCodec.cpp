// LERC bounds the error of every sample but codes no bytes by their frequency, which zstd then does where that is worth
// it. A tile with an infinity or a NaN goes to zstd alone, since LERC has no such samples.

#include "codec/TileCodec.h"

#include "base/DataTypeVisit.h"

#include <Lerc_c_api.h>
#include <zstd.h>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <type_traits>

namespace zrk {
namespace {

constexpr int kZstdLevel = 3;

/// What a blob may be larger than its samples: headers, and data that don't compress.
constexpr std::size_t kBlobSlack = 4096;

unsigned LercType(int dataType) {
  constexpr std::array<unsigned, 9> kTypes = {0, 1, 0, 3, 2, 5, 4, 6, 7};
  return kTypes[static_cast<std::size_t>(dataType)];
}

std::size_t TileBytes(int dataType, int width, int height) {
  return static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
         static_cast<std::size_t>(XfnGetDataSize(dataType));
}

template <class Sample>
bool AreFinite(const Sample* samples, std::size_t count) {
  if constexpr (std::is_floating_point_v<Sample>) {
    bool areFinite = true;
    for (std::size_t i = 0; i < count; ++i) {
      areFinite &= std::abs(samples[i]) <= std::numeric_limits<Sample>::max();
    }
    return areFinite;
  } else {
    return true;
  }
}

/// Contexts are large, and one a thread serves all its tiles.
struct ZstdContexts {
  std::unique_ptr<ZSTD_CCtx, decltype(&ZSTD_freeCCtx)> coder{ZSTD_createCCtx(), &ZSTD_freeCCtx};
  std::unique_ptr<ZSTD_DCtx, decltype(&ZSTD_freeDCtx)> decoder{ZSTD_createDCtx(), &ZSTD_freeDCtx};
};

ZstdContexts& ThreadsZstd() {
  thread_local ZstdContexts contexts;
  return contexts;
}

bool Deflate(std::span<const unsigned char> bytes, std::vector<unsigned char>& frame) {
  frame.resize(ZSTD_compressBound(bytes.size()));
  ZSTD_CCtx* const coder = ThreadsZstd().coder.get();
  if (!coder) return false;
  const std::size_t size = ZSTD_compressCCtx(coder, frame.data(), frame.size(), bytes.data(), bytes.size(), kZstdLevel);
  if (ZSTD_isError(size)) return false;
  frame.resize(size);
  return true;
}

/// The bytes of a frame, which must tell that they are no more than `mostBytes`, behind each other in `out`.
bool Inflate(std::span<const unsigned char> frame, std::size_t mostBytes, std::vector<unsigned char>& out) {
  const unsigned long long size = ZSTD_getFrameContentSize(frame.data(), frame.size());
  if (size > mostBytes) return false;  // the two values that mean failure are the largest there are
  out.resize(static_cast<std::size_t>(size));
  ZSTD_DCtx* const decoder = ThreadsZstd().decoder.get();
  return decoder && ZSTD_decompressDCtx(decoder, out.data(), out.size(), frame.data(), frame.size()) == size;
}

bool EncodeLerc(const void* samples, int dataType, int width, int height, double maxError,
                std::vector<unsigned char>& blob) {
  blob.resize(2 * TileBytes(dataType, width, height) + kBlobSlack);
  unsigned numBytes = 0;
  const lerc_status status = lerc_encode(samples, LercType(dataType), 1, width, height, 1, 0, nullptr, maxError,
                                         blob.data(), static_cast<unsigned>(blob.size()), &numBytes);
  if (status != 0) return false;
  blob.resize(numBytes);
  return true;
}

bool IsBlobOf(std::span<const unsigned char> blob, int dataType, int width, int height) {
  enum { kVersion, kType, kDepth, kCols, kRows, kBands, kValid, kSize, kMasks, kNumInfos };
  std::array<unsigned, kNumInfos> info{};
  const auto size = static_cast<unsigned>(blob.size());
  if (lerc_getBlobInfo(blob.data(), size, info.data(), nullptr, kNumInfos, 0) != 0) return false;
  return info[kType] == LercType(dataType) && info[kDepth] == 1 && info[kBands] == 1 && info[kMasks] == 0 &&
         info[kCols] == static_cast<unsigned>(width) && info[kRows] == static_cast<unsigned>(height) &&
         info[kValid] == info[kCols] * info[kRows] && info[kSize] <= size;
}

bool DecodeLerc(std::span<const unsigned char> blob, int dataType, int width, int height, void* out) {
  if (!IsBlobOf(blob, dataType, width, height)) return false;
  return lerc_decode(blob.data(), static_cast<unsigned>(blob.size()), 0, nullptr, 1, width, height, 1,
                     LercType(dataType), out) == 0;
}

template <class Sample>
bool AreWithin(const Sample* samples, const Sample* decoded, std::size_t count, double maxError) {
  if (maxError == 0.0) return std::memcmp(samples, decoded, count * sizeof(Sample)) == 0;
  bool areWithin = true;
  for (std::size_t i = 0; i < count; ++i) {
    areWithin &= std::abs(static_cast<double>(samples[i]) - static_cast<double>(decoded[i])) <= maxError;
  }
  return areWithin;
}

/// Whether a blob keeps the bound. Integers always do. Reals are rounded once more where they are coarser than the
/// steps of the bound, and zeros of both signs are taken for one.
bool KeepsBound(std::span<const unsigned char> blob, const void* samples, int dataType, int width, int height,
                double maxError) {
  bool keeps = true;
  VisitDataType(dataType, [&](auto zero) {
    using Sample = decltype(zero);
    if constexpr (std::is_floating_point_v<Sample>) {
      std::vector<Sample> decoded(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
      keeps = DecodeLerc(blob, dataType, width, height, decoded.data()) &&
              AreWithin(static_cast<const Sample*>(samples), decoded.data(), decoded.size(), maxError);
    }
  });
  return keeps;
}

/// A LERC blob that keeps the bound; false where there is none.
bool EncodeBounded(const void* samples, int dataType, int width, int height, double maxError,
                   std::vector<unsigned char>& blob) {
  for (const double bound : {maxError, 0.0}) {
    const bool isCoded = EncodeLerc(samples, dataType, width, height, bound, blob);
    if (isCoded && KeepsBound(blob, samples, dataType, width, height, bound)) return true;
    if (maxError == 0.0) break;
  }
  return false;
}

bool EncodeRaw(const void* samples, std::size_t numBytes, TileBlob& blob) {
  blob.coding = TileCoding::kRawZstd;
  return Deflate({static_cast<const unsigned char*>(samples), numBytes}, blob.bytes);
}

}  // namespace

bool EncodeTile(const void* samples, int dataType, int width, int height, double maxError, TileBlob& blob) {
  const std::size_t numBytes = TileBytes(dataType, width, height);
  bool areFinite = false;
  VisitDataType(dataType, [&](auto zero) {
    areFinite = AreFinite(static_cast<const decltype(zero)*>(samples), numBytes / sizeof(zero));
  });
  if (!areFinite) return EncodeRaw(samples, numBytes, blob);
  blob.coding = TileCoding::kLerc;
  if (!EncodeBounded(samples, dataType, width, height, maxError, blob.bytes)) return EncodeRaw(samples, numBytes, blob);
  std::vector<unsigned char> frame;
  if (!Deflate(blob.bytes, frame)) return false;
  if (frame.size() < blob.bytes.size()) {
    blob.coding = TileCoding::kLercZstd;
    blob.bytes.swap(frame);
  }
  return true;
}

bool DecodeTile(std::span<const unsigned char> blob, TileCoding coding, int dataType, int width, int height, void* out,
                TileRoom& room) {
  const std::size_t numBytes = TileBytes(dataType, width, height);
  switch (coding) {
    case TileCoding::kLerc:
      return DecodeLerc(blob, dataType, width, height, out);
    case TileCoding::kLercZstd:
      return Inflate(blob, 2 * numBytes + kBlobSlack, room) && DecodeLerc(room, dataType, width, height, out);
    case TileCoding::kRawZstd:
      if (!Inflate(blob, numBytes, room) || room.size() != numBytes) return false;
      std::memcpy(out, room.data(), numBytes);
      return true;
  }
  return false;
}

}  // namespace zrk
