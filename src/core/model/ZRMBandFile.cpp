// The frame of the bands over files, for the two bases that they have. Nobody else makes instances of it. Everything
// that such bands do alike stands here once; a format adds a `BandFrame` that decodes its windows.

#include "ZRMBandFile.h"

#include "base/Fence.h"
#include "base/ReadError.h"
#include "core/model/BandFrame.h"
#include "core/model/StripStatistics.h"
#include "Xepot.h"
#include "XThread.h"

#include <algorithm>
#include <concepts>
#include <utility>

template <class Base>
ZRMBandFile<Base>::ZRMBandFile(std::unique_ptr<Frame> frame) : frame_(std::move(frame)) {}

template <class Base>
ZRMBandFile<Base>::~ZRMBandFile() = default;

template <class Base>
void ZRMBandFile<Base>::SetByteRange() {
  this->SetDataType(kPint08);
  this->SetBandMin(0.0);
  this->SetBandMax(255.0);
}

template <class Base>
int ZRMBandFile<Base>::GetHighestLevelForTarget(int x0, int x1, int y0, int y1, int width, int height) {
  return Xepot::GetHighestLevelForTarget(this->GetXSize(), this->GetYSize(), this->GetLevel(), this->GetXTileSize(),
                                         this->GetYTileSize(), x0, x1, y0, y1, width, height);
}

template <class Base>
int ZRMBandFile<Base>::ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) {
  const zrk::ReadRequest request{level, x0, x1, y0, y1};
  return zrk::ReadPixels([&] {
    const bool isInside = this->IsInside(x0, x1, y0, y1);
    if (!frame_->Accepts(request, isInside, cancel)) {
      if (!isInside) zrk::NoteReadError(zrk::kWindowOutside);
      if (XfnIsStopRequested(cancel)) zrk::NoteReadError(zrk::kReadStopped);
      return 0;
    }
    // Level data is asked before the source, since its reduced pixels lie ready while the source has to decode them.
    if constexpr (std::derived_from<Base, ZRMBandDRIO>) {
      if (frame_->asksLevelData && this->ReadFromLevelData(out, level, x0, x1, y0, y1, cancel)) return 1;
    }
    tagXArr2* const result = frame_->Read(request, cancel, this->IsExact());
    if (!result) {
      if (XfnIsStopRequested(cancel)) zrk::NoteReadError(zrk::kReadStopped);
      return 0;
    }
    out = result;
    if (!frame_->IsFollower()) this->CleanupMemory(0, 0);
    return 1;
  });
}

template <class Base>
int ZRMBandFile<Base>::CalcStatistics(int withHistogram) {
  if (this->IsExact()) return ZRMBand::CalcStatistics(withHistogram);
  // Level data has coarse images of its own, which are small, and so the general way serves. It also serves where a
  // pixel size is 0, and answers as it does for any such band.
  bool hasLevelData = false;
  if constexpr (std::derived_from<Base, ZRMBandDRIO>) hasLevelData = this->GetBandXLD() != nullptr;
  const bool isPlaced = this->GetXPixelSize() != 0.0 && this->GetYPixelSize() != 0.0;
  if (!frame_->answersAtFullSize || hasLevelData || !isPlaced || this->GetDataType() != kPint08) {
    return ZRMBand::CalcStatistics(withHistogram);
  }
  return zrk::FencedRead(
      [&] { return zrk::CalcStatisticsByStrips(*this, std::max(this->GetLevel() - 1, 0), withHistogram != 0); });
}

template <class Base>
int ZRMBandFile<Base>::CleanupMemory(int freeBuffers, int force) {
  if (freeBuffers && XBand::IsMemoryWanted(force)) frame_->FreeBuffers();
  return 1;
}

template <class Base>
int ZRMBandFile<Base>::CloneBand(ZRMBand* source) {
  return ZRMBand::CloneBand(source);
}

template class ZRMBandFile<ZRMBand>;
template class ZRMBandFile<ZRMBandDRIO>;
