// The samples of a TIFF file are written in blocks of rows, whose height `TiffJob` chooses and the band adjusts to the
// rows that it decodes together. The file is laid out first, so that every sample has its place and blocks may come in
// any order.
//
// There are two shapes on disk. Files of three bands of bytes, and files of classes, have whole pixels one behind the
// other. These pixels are made in a buffer of 1 MB, out of the blocks of all bands, and written from there. All other
// files have one plane behind the other, and a block of a band goes to the disk as it was read. Where the source holds
// the samples of several bands together, as an interleaved TIFF does, as many bands as memory allows are read in one
// pass over it.
//
// One thread writes. It looks for a stop before each read of a band, so that a stop takes effect within one block.

#include "writers/TiffPixels.h"

#include "base/AlignLike.h"
#include "base/Failure.h"
#include "base/OwnReads.h"
#include "base/PixelStorage.h"
#include "codec/TiffOutput.h"
#include "core/level/RowBlocks.h"
#include "math/Interleave.h"
#include "writers/BandList.h"
#include "writers/PaletteBytes.h"
#include "writers/TiffJob.h"
#include "writers/TiffSentences.h"
#include "XJointReader.h"
#include "XRSFile.h"
#include "XThread.h"

#include <algorithm>
#include <new>
#include <vector>

namespace zrk {
namespace {

/// Few enough bytes to stay in the cache, and enough that a call of the system costs little beside them.
constexpr std::int64_t kFilledBytes = 1 << 20;
/// What the blocks of several bands may take in memory at once.
constexpr std::int64_t kJointBytes = 32 << 20;

/// Writes the pixels of a file of one plane, which are made some at a time, so that they are still in the cache when
/// they are written.
class PixelWriter {
 public:
  PixelWriter(TiffOutput& tiff, std::int64_t pixelBytes)
      : tiff_(tiff),
        pixelBytes_(std::max<std::int64_t>(pixelBytes, 1)),
        step_(std::max<std::int64_t>(kFilledBytes / pixelBytes_, 1)) {}
  bool Reserve() { return pixels_.Reserve(static_cast<std::size_t>(step_ * pixelBytes_ + kAlignRoom)); }

  /// `fill(from, count, pixels)` makes the pixels from one on, which is counted from `first`.
  template <class Fill>
  bool Write(std::int64_t first, std::int64_t numPixels, Fill fill) {
    for (std::int64_t from = 0; from < numPixels; from += step_) {
      const std::int64_t count = std::min(step_, numPixels - from), place = (first + from) * pixelBytes_;
      unsigned char* const pixels = AlignLike(pixels_.Get(), tiff_.GetHeadBytes() + place);
      fill(from, static_cast<std::size_t>(count), pixels);
      if (!tiff_.WriteSamples(place, pixels, count * pixelBytes_)) return false;
    }
    return true;
  }

 private:
  TiffOutput& tiff_;
  std::int64_t pixelBytes_;
  std::int64_t step_;
  PixelStorage pixels_;
};

/// Makes `count` pixels of what lies `offset` samples into the planes. Three planes of bytes, the usual colour image,
/// have a loop of their own. Other planes are spread into the pixels one after another.
void JoinPixels(const std::vector<tagXArr2*>& planes, std::int64_t offset, std::size_t count, int sampleBytes,
                unsigned char* pixels) {
  const std::int64_t from = offset * sampleBytes;
  if (planes.size() == 3 && sampleBytes == 1) {
    JoinPixels3(planes[0]->data + from, planes[1]->data + from, planes[2]->data + from, count, pixels);
    return;
  }
  const auto stride = std::ssize(planes) * sampleBytes;
  for (std::size_t i = 0; i < planes.size(); ++i) {
    const auto place = static_cast<std::ptrdiff_t>(i) * sampleBytes;
    ScatterSamples(planes[i]->data + from, count, stride, sampleBytes, pixels + place);
  }
}

}  // namespace

bool TiffPixels::Fail(const char* sentence) {
  return FailWith(err_, sentence);
}

/// The rows of the block of a band that begins at a row of the window. The row is counted in the band for that, because
/// the rows that are decoded together are counted from its top. The last block ends with the window.
int TiffPixels::CountRows(const ZRMBand& band, int row) const {
  return std::min(CountBlockRows(band, job_.window.y0 + row, job_.BlockHeight()), job_.window.Height() - row);
}

/// The bytes of the largest block that is read of a band. A block at the top is cut by nothing but the end of the band.
std::int64_t TiffPixels::CountBlockBytes(const ZRMBand& band) const {
  const int numRows = std::min(CountBlockRows(band, 0, job_.BlockHeight()), band.GetYSize());
  return std::int64_t{job_.window.Width()} * numRows * job_.SampleBytes();
}

/// Reports how far the work is, `rowsDone` rows of all bands being written; false where it shall stop.
bool TiffPixels::GoesOn(std::int64_t rowsDone) {
  if (!thread_) return true;
  const double numRows = static_cast<double>(job_.numBands) * job_.window.Height();
  thread_->CallbackPercent(static_cast<double>(rowsDone) * 100.0 / numRows);
  wasStopped_ = XfnIsStopRequested(thread_->GetStatePtr());
  return !wasStopped_;
}

/// Whether a read gave what was asked for. A band that gives samples of another shape is as good as one that gives
/// none.
bool TiffPixels::Fits(const tagXArr2* data, int numRows) const {
  return data && data->data && data->xSize == job_.window.Width() && data->ySize == numRows &&
         data->elementSize == job_.SampleBytes();
}

/// The read of the first output computes the block of all outputs of a sharpening. Each further output then finds its
/// own part ready.
bool TiffPixels::ReadFirst(const Block& block) const {
  const OwnReads own;
  ZRMBand* const first = job_.FirstBand();
  tagXArr2* data = nullptr;
  const Window& window = job_.window;
  const int y0 = window.y0 + block.row;
  return first && first->ReadSubset(data, 0, window.x0, window.x1, y0, y0 + block.numRows - 1, nullptr);
}

/// Reads rows of some bands, in one pass where one pass over the source serves them all. The work is reported once for
/// each band also then, so that the percentages a caller sees do not depend on how the source lies on disk.
bool TiffPixels::ReadRows(std::span<ZRMBand* const> bands, const Block& block, std::span<tagXArr2*> out) {
  const std::size_t together = bands.size() > 1 && XfnHaveJointSource(bands) ? bands.size() : 1;
  const Window& window = job_.window;
  const int y0 = window.y0 + block.row, y1 = y0 + block.numRows - 1;
  for (std::size_t i = 0; i < bands.size(); i += together) {
    if (!bands[i]) return Fail(kNoBand);
    for (std::size_t k = i; k < i + together; ++k) {
      if (!GoesOn(block.rowsDone + static_cast<std::int64_t>(k) * block.numRows)) return false;
    }
    const auto some = out.subspan(i, together);
    const bool isRead = (!block.isFirstRead || ReadFirst(block)) &&
                        XfnReadBands(bands.subspan(i, together), window.x0, window.x1, y0, y1, nullptr, some) &&
                        std::ranges::all_of(some, [&](const tagXArr2* data) { return Fits(data, block.numRows); });
    if (!isRead) return Fail(kReadFailed);
  }
  return true;
}

/// A full disk has a sentence of its own. It is found here, before the first sample is read, where the disk can reserve
/// room.
bool TiffPixels::LayOut() {
  const TiffOutput::Result result = tiff_.LayOut();
  return result == TiffOutput::Result::kDone ||
         Fail(result == TiffOutput::Result::kDiskFull ? kDiskFull : kWriteFailed);
}

bool TiffPixels::Finish() {
  return tiff_.Finish() || Fail(kWriteFailed);
}

/// All bands are read before a pixel can be made, so that the blocks of all of them are in memory at once. Memory for
/// the list of bands has a sentence of its own, which callers know.
bool TiffPixels::WriteJoined() {
  const std::int64_t width = job_.window.Width();
  const int height = job_.window.Height(), sampleBytes = job_.SampleBytes();
  if (!LayOut()) return false;
  PixelWriter writer(tiff_, std::int64_t{sampleBytes} * job_.numBands);
  if (!writer.Reserve()) return Fail(kNoBuffer);
  std::vector<ZRMBand*> bands;
  std::vector<tagXArr2*> data;
  try {
    bands = ListBands(*job_.dataset, job_.numBands);
    data.resize(bands.size());
  } catch (const std::bad_alloc&) {
    return Fail(kNoIndex);
  }
  for (int row = 0, numRows = 0; row < height; row += numRows) {
    numRows = CountRows(*bands.front(), row);
    if (!ReadRows(bands, {row, numRows, std::int64_t{row} * job_.numBands}, data)) return false;
    const auto join = [&](std::int64_t from, std::size_t count, unsigned char* pixels) {
      JoinPixels(data, from, count, sampleBytes, pixels);
    };
    if (!writer.Write(width * row, width * numRows, join)) return Fail(kWriteFailed);
  }
  return Finish();
}

/// Strips are as high as the blocks that are wanted of a band. As many bands are written together as one pass over the
/// source serves and there is room for.
bool TiffPixels::WritePlanes() {
  if (tiff_.Get()) TIFFSetField(tiff_.Get(), TIFFTAG_ROWSPERSTRIP, job_.BlockHeight());
  if (!LayOut()) return false;
  const std::vector<ZRMBand*> bands = ListBands(*job_.dataset, job_.numBands);
  int together = 1;
  if (XfnHaveJointSource(bands)) {
    const std::int64_t blockBytes = std::max<std::int64_t>(CountBlockBytes(*bands.front()), 1);
    together = static_cast<int>(std::clamp<std::int64_t>(kJointBytes / blockBytes, 1, job_.numBands));
  }
  for (int i = 0; i < job_.numBands; i += together) {
    const std::span<ZRMBand* const> some(&bands[static_cast<std::size_t>(i)],
                                         static_cast<std::size_t>(std::min(together, job_.numBands - i)));
    if (!WriteSomePlanes(i, some, false)) return false;
  }
  return Finish();
}

/// The outputs go one by one, and each further one has the first read before it. That costs the sharpening of a block
/// once for each output.
bool TiffPixels::WriteSharpenedPlanes() {
  if (!LayOut()) return false;
  for (int i = 0; i < job_.numBands; ++i) {
    ZRMBand* const band = job_.dataset->GetBandAt(i);
    if (!WriteSomePlanes(i, {&band, 1}, i > 0)) return false;
  }
  return Finish();
}

/// Writes the planes of some bands, the first of which has number `first`. A plane lies behind all planes before it, so
/// that its place follows from its number alone. Every band keeps the buffer of its last read. Where those of all bands
/// together would exceed what blocks may take, the buffers are given back once their planes are written.
bool TiffPixels::WriteSomePlanes(int first, std::span<ZRMBand* const> bands, bool isFirstRead) {
  if (!bands.front()) return Fail(kNoBand);
  const int height = job_.window.Height();
  const std::int64_t rowBytes = std::int64_t{job_.window.Width()} * job_.SampleBytes();
  const std::int64_t begin = std::int64_t{first} * height;
  std::vector<tagXArr2*> data(bands.size());
  for (int row = 0, numRows = 0; row < height; row += numRows) {
    numRows = CountRows(*bands.front(), row);
    if (!ReadRows(bands, {row, numRows, begin + row * std::ssize(bands), isFirstRead}, data)) return false;
    for (std::size_t i = 0; i < bands.size(); ++i) {
      const std::int64_t place = (begin + static_cast<std::int64_t>(i) * height + row) * rowBytes;
      if (!tiff_.WriteSamples(place, data[i]->data, rowBytes * numRows)) return Fail(kWriteFailed);
    }
  }
  if (CountBlockBytes(*bands.front()) > kJointBytes / job_.numBands) {
    for (ZRMBand* band : bands) band->CleanupMemory(1, 1);
  }
  return true;
}

/// The statistics are looked at once, before the first block, because all blocks must be spread over the same range.
bool TiffPixels::WriteClasses() {
  if (!LayOut()) return false;
  PixelWriter writer(tiff_, 1);
  if (!writer.Reserve()) return Fail(kNoBuffer);
  ZRMBand* const band = job_.FirstBand();
  const std::int64_t width = job_.window.Width();
  const PaletteBytes bytes(job_.dataType, band->GetBandMin(), band->GetBandMax());
  for (int row = 0, numRows = 0; row < job_.window.Height(); row += numRows) {
    numRows = CountRows(*band, row);
    tagXArr2* data = nullptr;
    if (!ReadRows({&band, 1}, {row, numRows, row}, {&data, 1})) return false;
    const auto convert = [&](std::int64_t from, std::size_t count, unsigned char* pixels) {
      bytes.Convert(data->data + from * job_.SampleBytes(), count, pixels);
    };
    if (!writer.Write(width * row, width * numRows, convert)) return Fail(kWriteFailed);
  }
  return Finish();
}

}  // namespace zrk
