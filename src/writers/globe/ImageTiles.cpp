#include "writers/globe/ImageTiles.h"

#include "writers/globe/CoarseTiles.h"
#include "writers/globe/RenderedTiles.h"
#include "XTileGrid.h"
#include "ZRMBand.h"

#include <utility>

namespace zrk {

namespace {

bool HasExactLayer(const ZRMCompManager& manager) {
  for (int i = 0; i < manager.GetNumberOfZRMComposite(); ++i) {
    for (int index = 0; index < kCompositeBands; ++index) {
      const ZRMBand* const band = manager.GetZRMCompositeAt(i)->GetBand(index);
      if (band && band->IsExact()) return true;
    }
  }
  return false;
}

}  // namespace

ImageTiles::ImageTiles(const ZRMCompManager& manager, const TilePlan& plan, unsigned long backColor)
    : manager_(manager),
      plan_(plan),
      backColor_(static_cast<XColour>(backColor & 0xFFFFFF)),
      isExact_(HasExactLayer(manager)) {}

void ImageTiles::SetFile(std::shared_ptr<ExportFile> file) {
  file_ = std::move(file);
}

std::unique_ptr<TileMaker> ImageTiles::NewMaker(int level, XString& err) {
  const double tileSize = XfnGetTileSize3D(level);
  for (int i = 1; i < plan_.CountLevels() && file_; ++i) {
    if (plan_.GetLevel(i).level == level) {
      return NewCoarseMaker({*file_, plan_.GetLevel(i - 1), isExact_}, tileSize, err);
    }
  }
  const tagXTileLevel finest = plan_.CountLevels() > 0 ? plan_.GetLevel(0) : tagXTileLevel();
  return NewRenderedMaker({manager_, backColor_, isExact_, finest}, tileSize, err);
}

}  // namespace zrk
