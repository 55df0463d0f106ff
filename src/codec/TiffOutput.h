#pragma once

#include "codec/TiffHandle.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace zrk {

class DiskFile;

/// Whether an uncompressed file is too large for the 32-bit places of a plain TIFF. Its directory is taken at its
/// largest, beside the samples and a list of strips.
bool NeedsBigTiff(std::int64_t sampleBytes, std::int64_t numStrips, std::int64_t numBands);

/// An uncompressed TIFF file of strips in the making.
///
/// libtiff lays out its head and its directory, and does so in memory. The samples, which lie between the two, strip
/// behind strip without gaps, go straight to their places, in any order and in pieces of any size. The file is byte for
/// byte what libtiff would have written row by row; its first bytes come last, so that nothing takes an unfinished one
/// for a TIFF. For one thread.
class TiffOutput {
 public:
  enum class Result { kDone, kDiskFull, kFailed };

  /// Begins to write to a new file, which is open for writing; null where there is no memory for that. `isBig` makes a
  /// BigTIFF.
  static std::unique_ptr<TiffOutput> Create(std::shared_ptr<DiskFile> file, bool isBig);
  ~TiffOutput();
  TiffOutput(const TiffOutput&) = delete;
  TiffOutput& operator=(const TiffOutput&) = delete;

  /// For setting the tags, GeoTIFF's among them; null once the file is laid out.
  TIFF* Get() const { return tiff_; }

  /// Gives every strip its place, as the tags tell, and makes room on the disk. No tag can be set afterwards.
  Result LayOut();
  /// The bytes before the first sample, once the file is laid out.
  std::int64_t GetHeadBytes() const { return static_cast<std::int64_t>(layout_.head.size()); }
  /// Writes samples; `place` counts bytes from the first one of the file.
  bool WriteSamples(std::int64_t place, const void* samples, std::int64_t numBytes);
  /// Writes what libtiff laid out.
  bool Finish();
  /// Whether all of that is written.
  bool IsFinished() const { return isFinished_; }

 private:
  /// The file as libtiff sees it. Between the head and the tail lie samples, of which only the number is known.
  struct Layout {
    std::vector<unsigned char> head;
    std::vector<unsigned char> tail;
    std::int64_t numSampleBytes = 0;
    std::int64_t position = 0;
    bool takesSamples = false;

    std::int64_t TailBegin() const { return static_cast<std::int64_t>(head.size()) + numSampleBytes; }
    std::int64_t Size() const { return TailBegin() + static_cast<std::int64_t>(tail.size()); }
    std::int64_t Read(void* buffer, std::int64_t count);
    std::int64_t Write(const void* buffer, std::int64_t count);
  };

  explicit TiffOutput(std::shared_ptr<DiskFile> file) : file_(std::move(file)) {}
  bool LayOutStrips();

  static tmsize_t Read(thandle_t self, void* buffer, tmsize_t count);
  static tmsize_t Write(thandle_t self, void* buffer, tmsize_t count);
  static toff_t Seek(thandle_t self, toff_t offset, int origin);
  static int Close(thandle_t self);
  static toff_t Size(thandle_t self);

  std::shared_ptr<DiskFile> file_;
  Layout layout_;
  TiffMessages messages_;
  TIFF* tiff_ = nullptr;
  bool isFinished_ = false;
};

}  // namespace zrk
