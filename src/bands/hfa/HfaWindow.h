#pragma once

#include "bands/hfa/HfaFile.h"
#include "core/model/BlockWindow.h"

namespace zrk {

/// A window of a layer or of one of its overviews, and how its samples are taken.
struct HfaPlan {
  int overview = -1;  ///< -1 for the layer itself
  BlockPlan window;   ///< in pixels of the layer or overview
};

/// How a compatible read is answered: above level 0 by the overview whose pixels are nearest in size, at its own
/// resolution. The result then has the overview's pixels, and another size than was asked for.
HfaPlan PlanCompatibleHfa(const HfaLayer& layer, const ReadRequest& request);

/// How an exact read is answered: by the pixels x0 + i * 2^n and y0 + j * 2^n, or by an overview that is exactly the
/// image reduced by 2^n both ways.
HfaPlan PlanExactHfa(const HfaLayer& layer, const ReadRequest& request);

/// Fills the result, which has the size of the plan. False with a noted reason where a block can't be read or the word
/// behind `cancel`, which may be null, asks to stop.
bool ReadHfaWindow(HfaFile& file, int layer, const HfaPlan& plan, tagXArr2& out, const int* cancel);

}  // namespace zrk
