#pragma once

#include "base/BlockCache.h"
#include "XString.h"

#include <array>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

class GDALDataset;
class GDALRasterBand;

namespace zrk {

/// Pixels of a layer at one resolution, in blocks.
struct HfaGrid {
  int width = 0;
  int height = 0;
  int blockWidth = 0;
  int blockHeight = 0;
};

/// A layer of an HFA file.
struct HfaLayer {
  HfaGrid grid;
  int dataType = 0;       ///< as `XDataType` has it, for compatible reads
  int exactDataType = 0;  ///< which tells signed bytes apart
  XString name;
  bool isThematic = false;
  std::vector<std::array<unsigned char, 3>> colours;  ///< of a thematic layer
  std::optional<double> nullValue;
  std::vector<HfaGrid> overviews;    ///< those with samples of the layer's type
  std::vector<int> overviewNumbers;  ///< as GDAL counts them
};

struct HfaLayout {
  std::vector<HfaLayer> layers;
  std::optional<std::array<double, 6>> transform;
  XString wkt;  ///< empty without a system
  int Width() const { return layers.front().grid.width; }
  int Height() const { return layers.front().grid.height; }
};

/// An open HFA file, read through GDAL's driver of that name and no other. Any number of threads may borrow a handle of
/// their own; handles that come back are lent again. GDAL's cache of blocks has no part in it.
class HfaFile {
 public:
  /// Null with the reason where the file can't be opened or asks for more than the limits allow. With `isExact` also
  /// where the disk does not give all that the file has; GDAL would go on with zeros.
  static std::shared_ptr<HfaFile> Open(const XString& path, bool isExact, XString& reason);
  HfaFile(XString path, bool isExact);
  ~HfaFile();
  HfaFile(const HfaFile&) = delete;
  HfaFile& operator=(const HfaFile&) = delete;

  const HfaLayout& GetLayout() const { return layout_; }
  /// For blocks that are kept.
  const BlockFile& GetBlocks() const { return blocks_; }

  /// A handle that one read has alone. False where the file can't be opened again as it was.
  class Loan {
   public:
    explicit Loan(HfaFile& file);
    ~Loan();
    Loan(const Loan&) = delete;
    Loan& operator=(const Loan&) = delete;
    explicit operator bool() const { return dataset_ != nullptr; }
    const BlockFile& GetBlocks() const { return file_.GetBlocks(); }
    /// A block of a layer, or of one of its overviews (-1 for none), in the layer's own type. `out` holds a whole
    /// block. `isCut` tells that the file or the disk did not give all of its bytes; GDAL takes those of plain blocks
    /// for 0. Notes the reason where the result is false.
    bool ReadBlock(int layer, int overview, int blockX, int blockY, void* out, bool& isCut);

   private:
    struct Scope;

    HfaFile& file_;
    std::unique_ptr<Scope> scope_;
    GDALDataset* dataset_;
    bool isSound_ = true;  // what a read has left in the handle can be used again
  };

 private:
  struct Close {
    void operator()(GDALDataset* dataset) const;
  };
  using Dataset = std::unique_ptr<GDALDataset, Close>;

  Dataset OpenDataset(XString& reason) const;
  Dataset Borrow();
  void GiveBack(Dataset dataset);

  XString path_;
  bool isExact_;
  HfaLayout layout_;
  BlockFile blocks_;
  std::mutex mutex_;
  std::vector<Dataset> idle_;
};

}  // namespace zrk
