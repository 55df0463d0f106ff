#pragma once

#include "bands/hfa/HfaPlain.h"
#include "base/BlockCache.h"
#include "base/BlockGrid.h"
#include "geo/GdalFile.h"
#include "XString.h"

#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace zrk {

/// A layer of an HFA file.
struct HfaLayer {
  BlockGrid grid;
  int dataType = 0;       ///< as `XDataType` has it, for compatible reads
  int exactDataType = 0;  ///< which tells signed bytes apart
  XString name;
  bool isThematic = false;
  bool isCompressed = false;                          ///< by runs
  std::vector<std::array<unsigned char, 3>> colours;  ///< of a thematic layer
  std::optional<double> nullValue;
  std::vector<BlockGrid> overviews;  ///< those with samples of the layer's type
  std::vector<int> overviewNumbers;  ///< as GDAL counts them
};

struct HfaLayout {
  std::vector<HfaLayer> layers;
  std::optional<std::array<double, 6>> transform;
  XString wkt;  ///< empty without a system
  int Width() const { return layers.front().grid.width; }
  int Height() const { return layers.front().grid.height; }
};

/// An open HFA file, read through GDAL's driver of that name and no other, but for blocks that need no GDAL.
class HfaFile {
 public:
  /// Null with the reason where the file can't be opened or asks for more than the limits allow. With `isExact` also
  /// where the disk does not give all that the file has.
  static std::shared_ptr<HfaFile> Open(const XString& path, bool isExact, XString& reason);
  HfaFile(const XString& path, bool isExact);

  const HfaLayout& GetLayout() const { return layout_; }
  GdalFile& GetHandles() { return handles_; }
  /// For blocks that are kept.
  const BlockFile& GetBlocks() const { return blocks_; }
  /// Where the blocks of a layer lie; null where GDAL alone knows. The first who asks has it found for all threads,
  /// and where the disk fails then the next one tries again.
  const HfaStore* FindStore(int layer);

 private:
  struct LazyStore {
    std::atomic<bool> isKnown = false;  ///< the store is as it stays
    std::mutex mutex;                   ///< of the thread that looks for it
    std::optional<HfaStore> store;
  };

  bool Seek(int layer, std::optional<HfaStore>& store) const;

  GdalFile handles_;
  HfaLayout layout_;
  BlockFile blocks_;
  std::shared_ptr<const RowFile> rows_;  // null where the file can't be opened once more
  std::vector<LazyStore> stores_;        // of each layer
};

}  // namespace zrk
