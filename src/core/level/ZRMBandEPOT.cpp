#include "ZRMBandEPOT.h"

#include "base/Fence.h"
#include "base/ReadError.h"
#include "core/level/PyramidStore.h"
#include "XThreadSafeArr.h"

#include <typeinfo>

XTileSource::~XTileSource() = default;

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandEPOT, ZRMBand);

struct ZRMBandEPOT::Impl {
  int levels = 0;
  XEPOT2D epot;
  XThreadSafeArr2 buffers;
};

ZRMBandEPOT::ZRMBandEPOT() : impl_(std::make_unique<Impl>()) {}
ZRMBandEPOT::~ZRMBandEPOT() = default;

XEPOT2D* ZRMBandEPOT::GetEPOT() {
  return &impl_->epot;
}

const XEPOT2D* ZRMBandEPOT::GetEPOT() const {
  return &impl_->epot;
}

const XEPOT2D* ZRMBandEPOT::GetTileStore() const {
  return typeid(*this) == typeid(ZRMBandEPOT) ? &impl_->epot : nullptr;
}

int ZRMBandEPOT::SetImage(XFile* file, std::int64_t offset, int xSize, int ySize, int dataType, int xTileSize,
                          int yTileSize, int levels, int compression) {
  SetSize(xSize, ySize);
  SetDataType(dataType);
  SetTileSize(xTileSize, yTileSize);
  SetCompressionInfo(compression);
  SetOffsetInFile(offset);
  impl_->levels = levels;
  const int isSet = zrk::FencedRead([&] {
    return impl_->epot.SetImage(file, offset, xSize, ySize, dataType, xTileSize, yTileSize, levels, compression);
  });
  // Readers that go through the band in order learn here what comes cheaply together. Rows of uncompressed tiles come
  // one by one; a compressed tile is decoded as a whole.
  SetDecodeColumns(isSet ? xTileSize : 0);
  SetDecodeRows(isSet && compression == kCompressionTiles ? yTileSize : 1);
  return isSet;
}

int ZRMBandEPOT::ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) {
  return zrk::ReadPixels([&] {
    int left = 0, top = 0, width = 0, height = 0;
    if (!GetSubsetInfo(level, x0, x1, y0, y1, left, top, width, height)) {
      return zrk::FailRead(IsInside(x0, x1, y0, y1) ? zrk::kNoSuchLevel : zrk::kWindowOutside);
    }
    // A buffer that was lent on an earlier read belongs to a band, perhaps another one, and is replaced.
    const bool isCallers = out && out->data && !out->isLent;
    tagXArr2* const buffer = isCallers ? out : impl_->buffers.GetBuffer(width, height, GetDataSize());
    if (!buffer || !impl_->epot.Read(*buffer, level, left, top, cancel)) return 0;
    out = buffer;
    CleanupMemory(0, 0);
    return 1;
  });
}

int ZRMBandEPOT::WriteSubset(tagXArr2* data, int x0, int x1, int y0, int y1, bool keepNull, double nullValue) {
  if (!data || !IsInside(x0, x1, y0, y1) || data->xSize != x1 - x0 + 1 || data->ySize != y1 - y0 + 1) return 0;
  return zrk::FencedRead([&] { return impl_->epot.Write(*data, 0, x0, y0, keepNull, nullValue); });
}

int ZRMBandEPOT::GetLevel() {
  return impl_->levels;
}

int ZRMBandEPOT::BuildLowerLevelsForTIP(double nullValue, int first, int last, int firstRow, int lastRow,
                                        bool thematic) {
  return zrk::FencedRead(
      [&] { return impl_->epot.BuildLowerLevels(nullValue, first, last, firstRow, lastRow, thematic); });
}

int ZRMBandEPOT::CleanupMemory(int freeBuffers, int force) {
  if (!freeBuffers || !IsMemoryWanted(force)) return 1;
  impl_->buffers.FreeCurrentThreadsBuffer();
  if (impl_->epot.GetStore()) impl_->epot.GetStore()->ReleaseThread();
  return 1;
}
