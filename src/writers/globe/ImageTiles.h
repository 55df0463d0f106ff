#pragma once

#include "writers/globe/ExportFile.h"
#include "writers/globe/TileMaker.h"
#include "ZRMCompManager.h"

namespace zrk {

/// Tiles of an image store: 256 by 256 pixels in blocks. Those of the finest level show the composites; those of the
/// others are made of the level above, read back from the file as anybody reads it.
class ImageTiles : public TileSource {
 public:
  /// `plan` begins with the finest level. What is given has to outlive this object.
  ImageTiles(const ZRMCompManager& manager, const TilePlan& plan, unsigned long backColor);

  /// Where finer levels are found. Before it is set there are makers of the finest level alone.
  void SetFile(std::shared_ptr<ExportFile> file);

  std::unique_ptr<TileMaker> NewMaker(int level, XString& err) override;
  bool IsBuiltOnLevels() const override { return true; }
  int TilesAtOnce() const override { return TilePlan::kTilesOfUnit; }

 private:
  const ZRMCompManager& manager_;
  const TilePlan& plan_;
  XColour backColor_;
  bool isExact_;
  std::shared_ptr<ExportFile> file_;
};

}  // namespace zrk
