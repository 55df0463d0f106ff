// The pixels of a save: block by block out of the bands, and in few large pieces to their places in the file.

#include "XRSFile2Tiff.h"

#include "base/AlignLike.h"
#include "base/PixelStorage.h"
#include "codec/TiffOutput.h"
#include "math/Interleave.h"
#include "writers/BandList.h"
#include "writers/PaletteBytes.h"
#include "writers/RowBlocks.h"
#include "writers/TiffSentences.h"
#include "XJointReader.h"
#include "XRSFile.h"
#include "XSystem.h"
#include "XThread.h"

#include <algorithm>
#include <new>
#include <vector>

using zrk::FailWith;

namespace {

constexpr int kWantedRows = 200;
constexpr std::int64_t kFilledBytes = 1 << 20;
/// What the blocks of several bands may take.
constexpr std::int64_t kJointBytes = 32 << 20;

/// Writes the pixels of a file of one plane, which are made some at a time, so that they are still in the cache when
/// they are written.
class PixelWriter {
 public:
  PixelWriter(zrk::TiffOutput& tiff, std::int64_t pixelBytes)
      : tiff_(tiff),
        pixelBytes_(std::max<std::int64_t>(pixelBytes, 1)),
        step_(std::max<std::int64_t>(kFilledBytes / pixelBytes_, 1)) {}
  bool Reserve() { return pixels_.Reserve(static_cast<std::size_t>(step_ * pixelBytes_ + zrk::kAlignRoom)); }

  /// `fill(from, count, pixels)` makes the pixels from one on, which is counted from `first`.
  template <class Fill>
  bool Write(std::int64_t first, std::int64_t numPixels, Fill fill) {
    for (std::int64_t from = 0; from < numPixels; from += step_) {
      const std::int64_t count = std::min(step_, numPixels - from), place = (first + from) * pixelBytes_;
      unsigned char* const pixels = zrk::AlignLike(pixels_.Get(), tiff_.GetHeadBytes() + place);
      fill(from, static_cast<std::size_t>(count), pixels);
      if (!tiff_.WriteSamples(place, pixels, count * pixelBytes_)) return false;
    }
    return true;
  }

 private:
  zrk::TiffOutput& tiff_;
  std::int64_t pixelBytes_;
  std::int64_t step_;
  zrk::PixelStorage pixels_;
};

/// Makes `count` pixels of what lies `offset` samples into the planes.
void JoinPixels(const std::vector<tagXArr2*>& planes, std::int64_t offset, std::size_t count, int sampleBytes,
                unsigned char* pixels) {
  const std::int64_t from = offset * sampleBytes;
  if (planes.size() == 3 && sampleBytes == 1) {
    zrk::JoinPixels3(planes[0]->data + from, planes[1]->data + from, planes[2]->data + from, count, pixels);
    return;
  }
  const auto stride = std::ssize(planes) * sampleBytes;
  for (std::size_t i = 0; i < planes.size(); ++i) {
    const auto place = static_cast<std::ptrdiff_t>(i) * sampleBytes;
    zrk::ScatterSamples(planes[i]->data + from, count, stride, sampleBytes, pixels + place);
  }
}

}  // namespace

int XRSFile2Tiff::GetSampleBytes() const {
  return XfnGetDataSize(dataType_);
}

int XRSFile2Tiff::GetBlockHeight() const {
  return XfnCalcBlockHeight(width_, height_, GetSampleBytes(), kWantedRows);
}

/// The rows of the block of a band that begins at a row of the window.
int XRSFile2Tiff::CountRows(const ZRMBand& band, int row) const {
  return std::min(zrk::CountBlockRows(band, y0_ + row, GetBlockHeight()), height_ - row);
}

/// Of the largest block that is read of a band.
std::int64_t XRSFile2Tiff::CountBlockBytes(const ZRMBand& band) const {
  const int numRows = std::min(zrk::CountBlockRows(band, 0, GetBlockHeight()), band.GetYSize());
  return std::int64_t{width_} * numRows * GetSampleBytes();
}

/// Reports how far the work is, `rowsDone` rows of all bands being written; false where it shall stop.
bool XRSFile2Tiff::GoesOn(std::int64_t rowsDone, XThread* thread) const {
  if (!thread) return true;
  thread->CallbackPercent(static_cast<double>(rowsDone) * 100.0 / (static_cast<double>(numBands_) * height_));
  return !XfnIsStopRequested(thread->GetStatePtr());
}

/// Whether a read gave what was asked for. A band that gives samples of another shape is as good as one that gives
/// none.
bool XRSFile2Tiff::Fits(const tagXArr2* data, int numRows) const {
  return data && data->data && data->xSize == width_ && data->ySize == numRows && data->elementSize == GetSampleBytes();
}

/// The outputs of a sharpening are computed together, by the read of the first one.
bool XRSFile2Tiff::ReadFirst(const Block& block) const {
  ZRMBand* const first = file_->GetBandAt(0);
  tagXArr2* data = nullptr;
  const int y0 = y0_ + block.row;
  return first && first->ReadSubset(data, 0, x0_, x0_ + width_ - 1, y0, y0 + block.numRows - 1, nullptr);
}

/// Reads rows of some bands: at once where one pass over the source serves them all. False with the reason in `err`,
/// and without one for a stop.
bool XRSFile2Tiff::ReadRows(std::span<ZRMBand* const> bands, const Block& block, XThread* thread, XString& err,
                            std::span<tagXArr2*> out) const {
  const std::size_t together = bands.size() > 1 && XfnHaveJointSource(bands) ? bands.size() : 1;
  const int x1 = x0_ + width_ - 1, y0 = y0_ + block.row, y1 = y0 + block.numRows - 1;
  for (std::size_t i = 0; i < bands.size(); i += together) {
    if (!bands[i]) return FailWith(err, zrk::kNoBand);
    for (std::size_t k = i; k < i + together; ++k) {
      if (!GoesOn(block.rowsDone + static_cast<std::int64_t>(k) * block.numRows, thread)) return false;
    }
    const auto some = out.subspan(i, together);
    const bool isRead = (!block.isFirstRead || ReadFirst(block)) &&
                        XfnReadBands(bands.subspan(i, together), x0_, x1, y0, y1, nullptr, some) &&
                        std::ranges::all_of(some, [&](const tagXArr2* data) { return Fits(data, block.numRows); });
    if (!isRead) return FailWith(err, zrk::kReadFailed);
  }
  return true;
}

bool XRSFile2Tiff::LayOut(XString& err) {
  switch (tiff_->LayOut()) {
    case zrk::TiffOutput::Result::kDone:
      return true;
    case zrk::TiffOutput::Result::kDiskFull:
      return FailWith(err, zrk::kDiskFull);
    default:
      return FailWith(err, zrk::kWriteFailed);
  }
}

bool XRSFile2Tiff::Finish(XString& err) {
  return tiff_->Finish() || FailWith(err, zrk::kWriteFailed);
}

int XRSFile2Tiff::DoExportToBIP(XThread* thread, XString& err) {
  if (!tiff_ || !file_ || !file_->GetBandAt(0)) return 0;
  const int sampleBytes = GetSampleBytes();
  if (!LayOut(err)) return 0;
  PixelWriter writer(*tiff_, std::int64_t{sampleBytes} * numBands_);
  if (!writer.Reserve()) return FailWith(err, zrk::kNoBuffer);
  std::vector<ZRMBand*> bands;
  std::vector<tagXArr2*> data;
  try {
    bands = zrk::ListBands(*file_, numBands_);
    data.resize(bands.size());
  } catch (const std::bad_alloc&) {
    return FailWith(err, zrk::kNoIndex);
  }
  for (int row = 0, numRows = 0; row < height_; row += numRows) {
    numRows = CountRows(*bands.front(), row);
    if (!ReadRows(bands, {row, numRows, std::int64_t{row} * numBands_}, thread, err, data)) return 0;
    const auto join = [&](std::int64_t from, std::size_t count, unsigned char* pixels) {
      JoinPixels(data, from, count, sampleBytes, pixels);
    };
    if (!writer.Write(std::int64_t{width_} * row, std::int64_t{width_} * numRows, join)) {
      return FailWith(err, zrk::kWriteFailed);
    }
  }
  return Finish(err);
}

int XRSFile2Tiff::DoExportToBSQ(XThread* thread, XString& err) {
  if (!tiff_ || !file_) return 0;
  TIFFSetField(tiff_->Get(), TIFFTAG_ROWSPERSTRIP, GetBlockHeight());
  if (!LayOut(err)) return 0;
  // Band by band, or where one pass over the source serves several of them as many as there is room for.
  const std::vector<ZRMBand*> bands = zrk::ListBands(*file_, numBands_);
  int together = 1;
  if (XfnHaveJointSource(bands)) {
    const std::int64_t blockBytes = CountBlockBytes(*bands.front());
    together =
        static_cast<int>(std::clamp<std::int64_t>(kJointBytes / std::max<std::int64_t>(blockBytes, 1), 1, numBands_));
  }
  for (int i = 0; i < numBands_; i += together) {
    const std::span<ZRMBand* const> some(&bands[static_cast<std::size_t>(i)],
                                         static_cast<std::size_t>(std::min(together, numBands_ - i)));
    if (!WritePlanes(i, some, false, thread, err)) return 0;
  }
  return Finish(err);
}

int XRSFile2Tiff::DoExportToBSQ_ImageSharpen(XThread* thread, XString& err) {
  if (!tiff_ || !file_ || !LayOut(err)) return 0;
  for (int i = 0; i < numBands_; ++i) {
    ZRMBand* const band = file_->GetBandAt(i);
    if (!WritePlanes(i, {&band, 1}, i > 0, thread, err)) return 0;
  }
  return Finish(err);
}

/// Writes the planes of some bands, the first of which has number `first`.
bool XRSFile2Tiff::WritePlanes(int first, std::span<ZRMBand* const> bands, bool isFirstRead, XThread* thread,
                               XString& err) {
  if (!bands.front()) return FailWith(err, zrk::kNoBand);
  const std::int64_t rowBytes = std::int64_t{width_} * GetSampleBytes(), begin = std::int64_t{first} * height_;
  std::vector<tagXArr2*> data(bands.size());
  for (int row = 0, numRows = 0; row < height_; row += numRows) {
    numRows = CountRows(*bands.front(), row);
    if (!ReadRows(bands, {row, numRows, begin + row * std::ssize(bands), isFirstRead}, thread, err, data)) return false;
    for (std::size_t i = 0; i < bands.size(); ++i) {
      const std::int64_t place = (begin + static_cast<std::int64_t>(i) * height_ + row) * rowBytes;
      if (!tiff_->WriteSamples(place, data[i]->data, rowBytes * numRows)) return FailWith(err, zrk::kWriteFailed);
    }
  }
  if (CountBlockBytes(*bands.front()) > kJointBytes / numBands_) {
    for (ZRMBand* band : bands) band->CleanupMemory(1, 1);
  }
  return true;
}

int XRSFile2Tiff::DoExportToPalette(XThread* thread, XString& err) {
  if (!tiff_ || !file_ || !IsPalette()) return 0;
  ZRMBand* const band = file_->GetBandAt(0);
  if (!LayOut(err)) return 0;
  PixelWriter writer(*tiff_, 1);
  if (!writer.Reserve()) return FailWith(err, zrk::kNoBuffer);
  const zrk::PaletteBytes bytes(dataType_, band->GetBandMin(), band->GetBandMax());
  for (int row = 0, numRows = 0; row < height_; row += numRows) {
    numRows = CountRows(*band, row);
    tagXArr2* data = nullptr;
    if (!ReadRows({&band, 1}, {row, numRows, row}, thread, err, {&data, 1})) return 0;
    const auto convert = [&](std::int64_t from, std::size_t count, unsigned char* pixels) {
      bytes.Convert(data->data + from * GetSampleBytes(), count, pixels);
    };
    if (!writer.Write(std::int64_t{width_} * row, std::int64_t{width_} * numRows, convert)) {
      return FailWith(err, zrk::kWriteFailed);
    }
  }
  return Finish(err);
}
