#pragma once

#include "codec/J2kHeaderReader.h"
#include "codec/J2kStream.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace zrk {

/// Decoded samples of a component: a rectangle on the grid of the component at the level that was asked for. The
/// samples belong to the decoder and last until its next call.
struct J2kPlane {
  int component = 0;
  J2kRect rect;
  const std::int32_t* samples = nullptr;  ///< row by row, without gaps
  bool isCentred = false;                 ///< unsigned samples have 0 in the middle of their range

  const std::int32_t* At(std::int64_t x, std::int64_t y) const {
    return samples + (y - rect.y0) * rect.Width() + (x - rect.x0);
  }
};

/// How a codestream is decoded.
struct J2kSettings {
  int level = 0;
  /// The components to decode; all where it is empty. Only for a codestream that does not mix its components.
  std::vector<int> components = {};
  /// Whether data fails that the decoder can decode and complains of.
  bool isStrict = true;
  int numThreads = 1;
  friend bool operator==(const J2kSettings&, const J2kSettings&) = default;
};

/// A decoder of JPEG 2000 codestreams of one tile. It stands between the library and whatever does the work, so that
/// another library may take its place. For one thread at a time.
class J2kDecoder {
 public:
  virtual ~J2kDecoder();

  /// Whether unsigned samples come out with 0 in the middle of their range, as they are coded, so that half of the
  /// range has to be added.
  virtual bool LeavesLevelShift() const = 0;
  /// Takes a codestream of one tile and reads its header. Returns 1, or 0 with the reason in `err`.
  virtual int Open(std::unique_ptr<J2kStream> stream, const J2kSettings& settings, XString& err) = 0;
  /// Decodes an area of the reference grid that lies in the tile and holds samples of each component asked for. The
  /// planes are those of the area at the level. Returns 1, or 0 with the reason in `err`; the decoder is of no use
  /// then.
  virtual int Decode(const J2kRect& area, std::vector<J2kPlane>& planes, XString& err) = 0;
  /// Gives up the planes of the last call.
  virtual void FreePlanes() = 0;
  /// Whether another area of the same tile may be decoded.
  virtual bool CanDecodeAgain() const = 0;
};

/// A new decoder; that of OpenJPEG unless a test has put another in its place.
std::unique_ptr<J2kDecoder> MakeJ2kDecoder();
std::unique_ptr<J2kDecoder> MakeOpenJpegDecoder();

/// Puts other decoders in place for its own lifetime. For tests; no other thread may decode meanwhile.
class ScopedJ2kDecoders {
 public:
  using Maker = std::unique_ptr<J2kDecoder> (*)();
  explicit ScopedJ2kDecoders(Maker maker);
  ~ScopedJ2kDecoders();
  ScopedJ2kDecoders(const ScopedJ2kDecoders&) = delete;
  ScopedJ2kDecoders& operator=(const ScopedJ2kDecoders&) = delete;

 private:
  Maker before_;
};

}  // namespace zrk
