// A window of an exact read, put together block by block. Sample i of a row is the pixel at x0 + i * 2^n of the image,
// whichever block holds that pixel. The same holds for columns. A missing block is filled in place with the null value.
// A block that is not whole, or whose decoder warns of damage, ends the read.
//
// Decoders of JPEG and of fax continue after damage and report it by a warning, so warnings count as failures here.

#include "bands/tiff/TiffExactWindow.h"

#include "bands/tiff/TiffExactPlan.h"
#include "base/ReadError.h"
#include "XThread.h"

#include <cstring>

namespace zrk {
namespace {

/// The share of a block with the place of its first sample in the block.
TiffShare FindExactShare(int block, int blockSize, int from, int level, int size) {
  TiffShare share = FindTiffShare(block, blockSize, from, level, size);
  const std::int64_t position = from + (std::int64_t{share.first} << level);
  if (share.count > 0) share.local = static_cast<int>(position - std::int64_t{block} * blockSize);
  return share;
}

class ExactReader {
 public:
  ExactReader(TiffDecoder& decoder, const ReadRequest& request, std::span<const TiffTarget> targets)
      : decoder_(decoder),
        source_(decoder.GetSource()),
        request_(request),
        pieces_(decoder, request, targets),
        fileBytes_(source_.file->File().Size()) {}

  bool Read(const int* cancel) {
    const TiffTags& tags = source_.layout.tags;
    const auto blockWidth = static_cast<int>(tags.blockWidth), blockHeight = static_cast<int>(tags.blockHeight);
    for (int by = request_.y0 / blockHeight; by <= request_.y1 / blockHeight; ++by) {
      const TiffShare rows = FindExactShare(by, blockHeight, request_.y0, request_.level, pieces_.Height());
      if (rows.count == 0) continue;
      for (int bx = request_.x0 / blockWidth; bx <= request_.x1 / blockWidth; ++bx) {
        if (XfnIsStopRequested(cancel)) return FailRead(kReadStopped);
        const TiffShare columns = FindExactShare(bx, blockWidth, request_.x0, request_.level, pieces_.Width());
        if (columns.count > 0 && !ReadBlock(bx, by, columns, rows)) return false;
      }
    }
    return true;
  }

 private:
  bool ReadBlock(int bx, int by, const TiffShare& columns, const TiffShare& rows) {
    const TiffPresence presence = decoder_.Look(NumberOf(bx, by), fileBytes_);
    if (presence == TiffPresence::kMissing) return Fill(columns, rows);
    if (presence == TiffPresence::kCut) return Fail("The file doesn't hold all of the block", bx, by);
    const TiffPiece piece{columns.local, columns.count, rows.count, 1 << request_.level};
    decoder_.WatchDamage();
    const bool isRead = pieces_.Read(bx, by, piece, rows.local, {columns.first, rows.first});
    XString damage;
    if (decoder_.HasDamage(damage) || !isRead) return Fail("The decoder can't read the block", bx, by, damage);
    return Finish(columns, rows) || Fail("No double has the value of a 64-bit integer in the block", bx, by);
  }

  /// Colours are made of all planes of a block, and the first one speaks for them.
  int NumberOf(int bx, int by) const {
    return source_.layout.isRgba ? source_.BlockAt(bx, by, 0) : pieces_.BlockAt(bx, by);
  }

  bool Fill(const TiffShare& columns, const TiffShare& rows) const {
    const auto sampleBytes = static_cast<std::size_t>(pieces_.SampleBytes());
    for (const TiffTarget& target : pieces_.Targets()) {
      const TiffSampleBytes sample = MakeMissingSample(source_.layout, target.channel);
      for (int y = 0; y < rows.count; ++y) {
        unsigned char* out = pieces_.At(target, {columns.first, rows.first + y});
        for (int x = 0; x < columns.count; ++x, out += sampleBytes) std::memcpy(out, sample.data(), sampleBytes);
      }
    }
    return true;
  }

  bool Finish(const TiffShare& columns, const TiffShare& rows) const {
    if (source_.layout.finish == TiffFinish::kNone) return true;
    for (const TiffTarget& target : pieces_.Targets()) {
      for (int y = 0; y < rows.count; ++y) {
        unsigned char* const out = pieces_.At(target, {columns.first, rows.first + y});
        if (!FinishTiffSamples(source_.layout, out, columns.count)) return false;
      }
    }
    return true;
  }

  bool Fail(const char* what, int bx, int by, const XString& damage = {}) const {
    const TiffTags& tags = source_.layout.tags;
    XString sentence;
    sentence.Format("%s at column %lld, row %lld%s%s", what, static_cast<long long>(bx) * tags.blockWidth,
                    static_cast<long long>(by) * tags.blockHeight, damage.IsEmpty() ? "" : ": ", damage.GetText());
    return FailRead(sentence);
  }

  TiffDecoder& decoder_;
  const TiffSource& source_;
  const ReadRequest& request_;
  TiffPieces pieces_;
  std::int64_t fileBytes_;
};

}  // namespace

bool SampleTiffExactly(TiffDecoder& decoder, const ReadRequest& request, std::span<const TiffTarget> targets,
                       const int* cancel) {
  return ExactReader(decoder, request, targets).Read(cancel);
}

}  // namespace zrk
