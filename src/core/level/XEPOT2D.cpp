#include "XEPOT2D.h"

#include "base/Checked.h"
#include "core/level/BlobStore.h"
#include "core/level/LowerLevels.h"
#include "core/level/PyramidStore.h"
#include "XFile.h"
#include "ZRMBand.h"

#include <algorithm>

namespace {

bool IsCompressed(int compression) {
  return compression == kCompressionTiles;
}

}  // namespace

XEPOT2D::XEPOT2D() = default;
XEPOT2D::~XEPOT2D() = default;

std::int64_t XEPOT2D::CalcSize(int xSize, int ySize, int dataType, int xTileSize, int yTileSize, int levels) {
  const auto layout = zrk::PyramidLayout::Make({xSize, ySize, dataType, xTileSize, yTileSize, levels});
  return layout ? layout->Size() : 0;
}

int XEPOT2D::SetImage(XFile* file, std::int64_t offset, int xSize, int ySize, int dataType, int xTileSize,
                      int yTileSize, int levels, int compression) {
  Close();
  const auto layout = zrk::PyramidLayout::Make({xSize, ySize, dataType, xTileSize, yTileSize, levels});
  if (!layout || !file || !file->IsOpen() || offset < 0) return 0;
  if (IsCompressed(compression)) {
    store_ = zrk::BlobStore::Open(*layout, file->GetDiskFile(), offset);
    // An uncompressed store that is yet to be written may reach beyond the file's end, so only the sum is checked.
  } else if (zrk::CheckedAdd(offset, layout->Size())) {
    store_ = std::make_shared<zrk::PlainStore>(*layout, file->GetDiskFile(), offset);
  }
  return store_ != nullptr;
}

void XEPOT2D::Close() {
  store_.reset();
}

std::int64_t XEPOT2D::GetSize() const {
  return store_ ? store_->Size() : 0;
}

int XEPOT2D::GetLevels() const {
  return store_ ? store_->Layout().Shape().levels : 0;
}

int XEPOT2D::Read(tagXArr2& buffer, int level, int left, int top, const int* cancel) const {
  return store_ && store_->Read(buffer, level, left, top, cancel);
}

int XEPOT2D::Write(const tagXArr2& buffer, int level, int left, int top, bool keepNull, double nullValue) {
  return store_ && store_->Write(buffer, level, left, top, keepNull, nullValue);
}

int XEPOT2D::BuildLowerLevels(double nullValue, int x0, int x1, int y0, int y1, bool thematic) {
  if (!store_) return 0;
  const zrk::PyramidLayout& layout = store_->Layout();
  // A window that lies beside the image changes nothing, and that is no failure.
  const zrk::Window window = {std::max(x0, 0), std::min(x1, layout.Width(0) - 1), std::max(y0, 0),
                              std::min(y1, layout.Height(0) - 1)};
  if (window.x0 > window.x1 || window.y0 > window.y1) return 1;
  return zrk::MakeLowerLevels(*store_, 1, window, {thematic, nullValue});
}
