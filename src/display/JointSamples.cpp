#include "display/JointSamples.h"

#include "base/ReadError.h"
#include "XJointReader.h"
#include "ZRMBand.h"

#include <algorithm>
#include <cstdint>

namespace zrk {

namespace {

/// All bands have their samples at once, and so no more than these are read of each.
constexpr std::int64_t kMaxJointSamples = std::int64_t{1} << 21;

}  // namespace

/// A band that is shown in two colours would have one buffer for both.
void JointSamples::Begin(std::span<ZRMBand* const> bands) {
  Forget();
  const bool areApart = std::ranges::all_of(bands, [&](ZRMBand* band) { return std::ranges::count(bands, band) == 1; });
  if (bands.size() > 1 && areApart && XfnHaveJointSource(bands)) bands_.assign(bands.begin(), bands.end());
}

void JointSamples::Forget() {
  bands_.clear();
  samples_.clear();
}

/// A band that asks for another window will read it, which is the end of what the others have.
tagXArr2* JointSamples::Find(const ZRMBand& band, const Window& window, int* cancel) {
  const auto at = std::ranges::find(bands_, &band);
  const bool isThere = at != bands_.end() && (samples_.empty() ? ReadAll(window, cancel) : window == window_);
  if (!isThere) {
    Forget();
    return nullptr;
  }
  return samples_[static_cast<std::size_t>(at - bands_.begin())];
}

bool JointSamples::ReadAll(const Window& window, int* cancel) {
  if (std::int64_t{window.Width()} * window.Height() > kMaxJointSamples) return false;
  samples_.resize(bands_.size());
  window_ = window;
  const bool isRead = XfnReadBands(bands_, window.x0, window.x1, window.y0, window.y1, cancel, samples_) != 0;
  const bool hasAll = isRead && std::ranges::equal(samples_, bands_, [&](const tagXArr2* samples, const ZRMBand* band) {
                        return samples && samples->data && samples->elementSize == band->GetDataSize() &&
                               samples->xSize == window.Width() && samples->ySize == window.Height();
                      });
  // The band that is read by itself then tells what is wrong.
  if (!hasAll) ForgetReadError();
  return hasAll;
}

}  // namespace zrk
