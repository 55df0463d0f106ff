// A band is read once from the top down, its rows are carried down through all levels, and each row of tiles that is
// complete is coded by all workers and appended to the file. The table of offsets comes last.

#include "base/Disk.h"
#include "base/Fence.h"
#include "base/Parallel.h"
#include "core/level/BlobStore.h"
#include "core/level/RowCascade.h"
#include "Xepot.h"
#include "XFile.h"
#include "XThread.h"
#include "ZRMBand.h"

#include <algorithm>
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
  const bool areCoded = ForEachInParallel(numColumns, [&](int column, int) {
    return Encode(level, column, numRows, rows, blobs_[static_cast<std::size_t>(column)]);
  });
  if (!areCoded) return false;
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

/// Reads the window's rows into the cascade, a row of tiles at a time.
bool Pump(ZRMBand& band, int x0, int x1, int y0, int y1, RowCascade& cascade, std::int64_t rowBytes,
          const PyramidLayout& layout, XThread* thread) {
  const int height = y1 - y0 + 1;
  const std::int64_t perRead = INT_MAX / rowBytes / layout.Shape().yTile * layout.Shape().yTile;
  const auto mostRows = static_cast<int>(std::clamp<std::int64_t>(perRead, 1, std::max(band.GetDecodeRows(), 1)));
  for (int y = 0, rows = 0; y < height; y += rows) {
    if (thread) thread->CallbackPercent(static_cast<int>(100.0 * y / height));
    if (thread && thread->GetState() == XThread::kStateStop) return false;
    rows = std::min(std::max(mostRows, cascade.GetRoom()), height - y);
    tagXArr2* source = nullptr;
    int* const cancel = thread ? thread->GetStatePtr() : nullptr;
    if (!band.ReadSubset(source, 0, x0, x1, y0 + y, y0 + y + rows - 1, cancel)) return false;
    if (source->xSize != x1 - x0 + 1 || source->ySize != rows) return false;
    for (int done = 0, part = 0; done < rows; done += part) {
      part = std::min(cascade.GetRoom(), rows - done);
      std::memcpy(cascade.GetPlace(), source->Row(done), static_cast<std::size_t>(part * rowBytes));
      if (!cascade.Put(part)) return false;
    }
  }
  return cascade.Finish();
}

}  // namespace
}  // namespace zrk

std::int64_t Xepot::CompressEPOT_CM3(ZRMBand* band, XFile* file, std::int64_t offset, int tileSize, int level,
                                     double quality, XThread* thread) {
  if (!band) return 0;
  return CompressEPOT_CM3(band, file, offset, 0, band->GetXSize() - 1, 0, band->GetYSize() - 1, tileSize, level,
                          quality, thread);
}

std::int64_t Xepot::CompressEPOT_CM3(ZRMBand* band, XFile* file, std::int64_t offset, int x0, int x1, int y0, int y1,
                                     int tileSize, int level, double quality, XThread* thread) {
  if (!band || !file || offset < 0 || x0 < 0 || x0 > x1 || y0 < 0 || y0 > y1) return 0;
  const auto layout =
      zrk::PyramidLayout::Make({x1 - x0 + 1, y1 - y0 + 1, band->GetDataType(), tileSize, tileSize, level});
  if (!layout) return 0;
  try {
    zrk::BlobWriter writer(*layout, *file, offset, quality > 0.0 ? quality : 0.0);
    const zrk::Reduction how = {band->GetBandType() == kBandTypeThematic, band->GetNullValue()};
    zrk::RowCascade cascade(*layout, level, how, writer);
    cascade.Start(0);
    const std::int64_t rowBytes = std::int64_t{layout->Width(0)} * layout->SampleBytes();
    return zrk::Pump(*band, x0, x1, y0, y1, cascade, rowBytes, *layout, thread) ? writer.Finish() : 0;
  } catch (const std::bad_alloc&) {
    return 0;
  }
}
