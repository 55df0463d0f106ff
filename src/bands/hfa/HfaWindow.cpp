// A plan tells which overview answers a read and which of its pixels. There the two policies part. Blocks that
// lie plain in the file are copied out of it. All others come from a handle of GDAL's.

#include "bands/hfa/HfaWindow.h"

#include "core/model/PlainWindow.h"
#include "XDataType.h"

#include <gdal_priv.h>
#include <algorithm>
#include <cmath>

namespace zrk {

namespace {

/// The blocks of a layer or of one of its overviews.
class HfaBlocks final : public BlockSource {
 public:
  HfaBlocks(GdalFile::Loan& loan, const HfaLayer& layer, int number, int overview)
      : loan_(loan), band_(loan.GetBand(number)) {
    if (band_ && overview >= 0) band_ = band_->GetOverview(layer.overviewNumbers[static_cast<std::size_t>(overview)]);
  }
  bool ReadBlock(int blockX, int blockY, void* out, bool& isCut) override {
    return loan_.ReadBlock(band_, blockX, blockY, out, isCut);
  }

 private:
  GdalFile::Loan& loan_;
  GDALRasterBand* band_;
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
  // What does not come straight out of the file is asked of GDAL, which tells what is wrong with it.
  const PlainBlocks* const plain = plan.overview < 0 ? file.FindPlain(layer) : nullptr;
  if (plain && ReadPlainWindow(*plain, plan.window, out, cancel)) return true;
  GdalFile::Loan loan(file.GetHandles());
  if (!loan) return false;
  HfaBlocks blocks(loan, file.GetLayout().layers[static_cast<std::size_t>(layer)], layer, plan.overview);
  BlockPlan window = plan.window;
  window.file = &file.GetBlocks();
  window.plane = layer * (kMaxOverviews + 1) + plan.overview + 1;
  return ReadBlockWindow(blocks, window, out, cancel);
}

}  // namespace zrk
