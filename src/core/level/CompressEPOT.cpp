// Writes a compressed store: `Xepot::CompressEPOT_CM3` and what is behind it.
//
// The band is read once from the top down, and its rows are carried down through all levels. All workers code a row of
// tiles as soon as it is complete, and the calling thread appends the blobs to the file. Only one row of tiles of each
// level is in memory, whatever the size of the image. The table comes last, because only then all sizes are known.
// Until then the store begins with zeros, and readers refuse it.
//
// Reads, progress and the look at the stop word are the calling thread's. The bytes that come out do not depend on the
// number of workers. docs/FORMATS.md shows the layout.

#include "base/OwnReads.h"
#include "base/Parallel.h"
#include "core/level/BlobStore.h"
#include "core/level/CompressPyramid.h"
#include "core/level/RowCascade.h"
#include "Xepot.h"
#include "XFile.h"
#include "XThread.h"
#include "ZRMBand.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace zrk {
namespace {

/// Codes rows of tiles and appends them.
class BlobWriter : public RowTaker {
 public:
  BlobWriter(const PyramidLayout& layout, XFile& file, std::int64_t offset, double maxError)
      : layout_(layout), file_(file), offset_(offset), maxError_(maxError) {
    table_.places.resize(static_cast<std::size_t>(layout.NumTiles()));
    table_.storeBytes = BlobTable::Bytes(layout.NumTiles());
  }

  bool TakeRows(int level, int firstRow, int numRows, const unsigned char* rows) override;
  /// Writes the table; answers the bytes of the store, or 0.
  std::int64_t Finish();

 private:
  bool Encode(int level, int column, int numRows, const unsigned char* rows, TileBlob& blob) const;

  const PyramidLayout& layout_;
  XFile& file_;
  std::int64_t offset_;
  double maxError_;
  BlobTable table_;
  std::vector<TileBlob> blobs_;
  std::vector<unsigned char> bytes_;
};

bool BlobWriter::Encode(int level, int column, int numRows, const unsigned char* rows, TileBlob& blob) const {
  const std::int64_t sampleBytes = layout_.SampleBytes(), imageRowBytes = layout_.Width(level) * sampleBytes;
  const int xTile = layout_.Shape().xTile, width = std::min(xTile, layout_.Width(level) - column * xTile);
  const std::int64_t rowBytes = width * sampleBytes;
  // The coder wants the samples of a tile one behind the other, while rows of an image run through all tiles.
  std::vector<unsigned char> tile(static_cast<std::size_t>(rowBytes * numRows));
  const unsigned char* from = rows + column * layout_.TileRowBytes();
  for (int y = 0; y < numRows; ++y) {
    std::memcpy(tile.data() + y * rowBytes, from + y * imageRowBytes, static_cast<std::size_t>(rowBytes));
  }
  return EncodeTile(tile.data(), layout_.Shape().dataType, width, numRows, maxError_, blob);
}

bool BlobWriter::TakeRows(int level, int firstRow, int numRows, const unsigned char* rows) {
  const int numColumns = layout_.Columns(level), row = firstRow / layout_.Shape().yTile;
  blobs_.resize(static_cast<std::size_t>(numColumns));
  const bool areCoded = ForEachInParallel(CountWorkers(numColumns), numColumns, [&](int column, int) {
    return Encode(level, column, numRows, rows, blobs_[static_cast<std::size_t>(column)]);
  });
  if (!areCoded) return false;
  // Blobs go to the file in the order of their columns, whichever worker coded them.
  bytes_.clear();
  for (int column = 0; column < numColumns; ++column) {
    const TileBlob& blob = blobs_[static_cast<std::size_t>(column)];
    table_.places[static_cast<std::size_t>(layout_.TileNumber(level, column, row))] = {
        table_.storeBytes + static_cast<std::int64_t>(bytes_.size()), static_cast<std::uint32_t>(blob.bytes.size()),
        blob.coding};
    bytes_.insert(bytes_.end(), blob.bytes.begin(), blob.bytes.end());
  }
  const auto numBytes = static_cast<std::int64_t>(bytes_.size());
  if (!file_.WriteAt(offset_ + table_.storeBytes, bytes_.data(), numBytes)) return false;
  table_.storeBytes += numBytes;
  return true;
}

std::int64_t BlobWriter::Finish() {
  const std::vector<unsigned char> table = FormatBlobTable(table_);
  return file_.WriteAt(offset_, table.data(), static_cast<std::int64_t>(table.size())) ? table_.storeBytes : 0;
}

/// Reads the window's rows into the cascade, some rows of tiles at a time.
PyramidResult Pump(ZRMBand& band, const CompressRequest& request, const PyramidLayout& layout, RowCascade& cascade) {
  const OwnReads own;
  const Window& window = request.window;
  const std::int64_t rowBytes = std::int64_t{layout.Width(0)} * layout.SampleBytes();
  // A buffer has INT_MAX bytes at most.
  const auto mostRows = static_cast<int>(std::max<std::int64_t>(INT_MAX / rowBytes, 1));
  int* const cancel = request.thread ? request.thread->GetStatePtr() : nullptr;
  for (int y = 0, rows = 0; y < window.Height(); y += rows) {
    if (request.thread) request.thread->CallbackPercent(static_cast<int>(100.0 * y / window.Height()));
    if (XfnIsStopRequested(cancel)) return PyramidResult::kStopped;
    // No read takes less than the source decodes together, because the next one would decode the same rows again.
    rows = std::min({std::max(band.GetDecodeRows(), cascade.GetRoom()), mostRows, window.Height() - y});
    tagXArr2* source = nullptr;
    const int y0 = window.y0 + y;
    const bool isRead = band.ReadSubset(source, 0, window.x0, window.x1, y0, y0 + rows - 1, cancel) &&
                        source->xSize == window.Width() && source->ySize == rows;
    if (!isRead) return XfnIsStopRequested(cancel) ? PyramidResult::kStopped : PyramidResult::kReadFailed;
    // The cascade takes no more than what completes a row of tiles, and passes that on before it takes more.
    for (int done = 0, part = 0; done < rows; done += part) {
      part = std::min(cascade.GetRoom(), rows - done);
      std::memcpy(cascade.GetPlace(), source->Row(done), static_cast<std::size_t>(part * rowBytes));
      if (!cascade.Put(part)) return PyramidResult::kWriteFailed;
    }
  }
  return cascade.Finish() ? PyramidResult::kDone : PyramidResult::kWriteFailed;
}

}  // namespace

PyramidResult CompressPyramid(ZRMBand& band, XFile& file, std::int64_t offset, const CompressRequest& request,
                              std::int64_t& storeBytes) {
  const auto layout = PyramidLayout::Make({request.window.Width(), request.window.Height(), band.GetDataType(),
                                           request.tileSize, request.tileSize, request.level});
  // A bound that is negative or not a number asks for no loss, as 0 does.
  if (!layout || offset < 0) return PyramidResult::kWriteFailed;
  BlobWriter writer(*layout, file, offset, request.maxError > 0.0 ? request.maxError : 0.0);
  const Reduction how = {band.GetBandType() == kBandTypeThematic, band.GetNullValue()};
  RowCascade cascade(*layout, request.level, how, writer);
  cascade.Start(0);
  const PyramidResult result = Pump(band, request, *layout, cascade);
  if (result != PyramidResult::kDone) return result;
  storeBytes = writer.Finish();
  return storeBytes > 0 ? PyramidResult::kDone : PyramidResult::kWriteFailed;
}

}  // namespace zrk

std::int64_t Xepot::CompressEPOT_CM3(ZRMBand* band, XFile* file, std::int64_t offset, int tileSize, int level,
                                     double quality, XThread* thread) {
  if (!band) return 0;
  return CompressEPOT_CM3(band, file, offset, 0, band->GetXSize() - 1, 0, band->GetYSize() - 1, tileSize, level,
                          quality, thread);
}

std::int64_t Xepot::CompressEPOT_CM3(ZRMBand* band, XFile* file, std::int64_t offset, int x0, int x1, int y0, int y1,
                                     int tileSize, int level, double quality, XThread* thread) {
  if (!band || !file || x0 < 0 || x0 > x1 || y0 < 0 || y0 > y1) return 0;
  try {
    std::int64_t storeBytes = 0;
    const zrk::CompressRequest request = {{x0, x1, y0, y1}, tileSize, level, quality, thread};
    zrk::CompressPyramid(*band, *file, offset, request, storeBytes);
    return storeBytes;
  } catch (const std::bad_alloc&) {
    return 0;
  }
}
