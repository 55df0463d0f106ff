// A window of an HFA layer. First a plan tells which overview answers the read, and which pixels of it are taken; here
// the two policies differ. Then the blocks are fetched. Plain blocks are copied out of the file, and compressed blocks
// are unpacked. A handle of GDAL's reads all other blocks.

#include "bands/hfa/HfaWindow.h"

#include "bands/hfa/HfaStoreReader.h"
#include "core/model/PlainWindow.h"
#include "XDataType.h"

#include <gdal_priv.h>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>

namespace zrk {

namespace {

/// The blocks of a layer or of one of its overviews: of a layer those that need no GDAL, and otherwise from a handle of
/// GDAL's, which is borrowed when the first block needs it.
class HfaBlocks final : public BlockSource {
 public:
  HfaBlocks(HfaFile& file, int layer, const HfaPlan& plan)
      : file_(file),
        layer_(layer),
        overview_(plan.overview),
        store_(plan.overview < 0 ? file.FindStore(layer) : nullptr) {
    const ReadRequest& request = plan.window.request;
    // Every block of the window is read as a whole, whatever the level.
    const std::int64_t windowBytes = std::int64_t{request.Width()} * request.Height() * plan.window.sampleBytes;
    if (!store_ || store_->plain) return;
    // A level may step over whole blocks, and then no block is fetched along with another one.
    const bool takesEach = std::int64_t{1} << request.level <= store_->grid.blockWidth;
    reader_.emplace(*store_, windowBytes, takesEach ? request.x1 / store_->grid.blockWidth : -1);
  }

  const PlainBlocks* GetPlain() const { return store_ && store_->plain ? &*store_->plain : nullptr; }

  bool ReadBlock(int blockX, int blockY, void* out, bool& isCut) override {
    if (reader_ && reader_->ReadBlock(blockX, blockY, static_cast<unsigned char*>(out))) return true;
    if (!loan_) loan_.emplace(file_.GetHandles());
    return *loan_ && loan_->ReadBlock(GetBand(), blockX, blockY, out, isCut);
  }

 private:
  GDALRasterBand* GetBand() const {
    GDALRasterBand* const band = loan_->GetBand(layer_);
    const HfaLayer& layer = file_.GetLayout().layers[static_cast<std::size_t>(layer_)];
    return band && overview_ >= 0 ? band->GetOverview(layer.overviewNumbers[static_cast<std::size_t>(overview_)])
                                  : band;
  }

  HfaFile& file_;
  int layer_, overview_;
  const HfaStore* store_;
  std::optional<HfaStoreReader> reader_;
  std::optional<GdalFile::Loan> loan_;
};

HfaPlan PlanOf(const HfaLayer& layer, const ReadRequest& request) {
  HfaPlan plan;
  plan.window.grid = layer.grid;
  plan.window.request = request;
  plan.window.sampleBytes = XfnGetDataSize(layer.dataType);
  return plan;
}

/// The pixel of an overview that a pixel of the image lies in.
int OnOverview(int position, int imageSize, int overviewSize) {
  const double step = static_cast<double>(imageSize) / overviewSize;
  return std::min(static_cast<int>(position / step), overviewSize - 1);
}

}  // namespace

HfaPlan PlanCompatibleHfa(const HfaLayer& layer, const ReadRequest& request) {
  HfaPlan plan = PlanOf(layer, request);
  plan.window.beginsAnew = plan.window.takesCutBlocks = true;
  if (request.level == 0 || plan.window.Width() == 0 || layer.overviews.empty()) return plan;
  // Sizes of pixels are told in pixels of the image here, so that the size of those in the world cancels out.
  const double wanted = (request.x1 - request.x0) / static_cast<double>(plan.window.Width());
  const auto distance = [&](const BlockGrid& overview) {
    return std::abs(static_cast<double>(layer.grid.width) / overview.width - wanted);
  };
  const auto best = std::ranges::min_element(layer.overviews, {}, distance);
  plan.overview = static_cast<int>(best - layer.overviews.begin());
  plan.window.grid = *best;
  plan.window.request = {
      0, OnOverview(request.x0, layer.grid.width, best->width), OnOverview(request.x1, layer.grid.width, best->width),
      OnOverview(request.y0, layer.grid.height, best->height), OnOverview(request.y1, layer.grid.height, best->height)};
  return plan;
}

HfaPlan PlanExactHfa(const HfaLayer& layer, const ReadRequest& request) {
  HfaPlan plan = PlanOf(layer, request);
  const int level = request.level;
  const auto isReduction = [&](const BlockGrid& overview) {
    return std::int64_t{overview.width} << level == layer.grid.width &&
           std::int64_t{overview.height} << level == layer.grid.height;
  };
  const auto found = std::ranges::find_if(layer.overviews, isReduction);
  if (level == 0 || found == layer.overviews.end()) return plan;
  const int x0 = request.x0 >> level, y0 = request.y0 >> level;
  plan.overview = static_cast<int>(found - layer.overviews.begin());
  plan.window.grid = *found;
  plan.window.request = {0, x0, x0 + plan.window.Width() - 1, y0, y0 + (request.Height() >> level) - 1};
  return plan;
}

bool ReadHfaWindow(HfaFile& file, int layer, const HfaPlan& plan, tagXArr2& out, const int* cancel) {
  constexpr std::int64_t kMaxOverviews = 64;
  HfaBlocks blocks(file, layer, plan);
  // What does not come straight out of the file is read block by block, which tells what is wrong with one.
  if (blocks.GetPlain() && ReadPlainWindow(*blocks.GetPlain(), plan.window, out, cancel)) return true;
  BlockPlan window = plan.window;
  window.file = &file.GetBlocks();
  window.plane = layer * (kMaxOverviews + 1) + plan.overview + 1;
  return ReadBlockWindow(blocks, window, out, cancel);
}

}  // namespace zrk
