#include "bands/nitf/NitfWindow.h"

#include "base/ReadError.h"
#include "core/model/BlockWindow.h"
#include "XDataType.h"

namespace zrk {

namespace {

/// The blocks of a band from a handle of GDAL's. Its decoder of JPEG warns of damage and goes on with what it has.
class NitfBlocks final : public BlockSource {
 public:
  NitfBlocks(GdalFile::Loan& loan, int band, bool isExact)
      : loan_(loan), band_(loan.GetBand(band)), isExact_(isExact) {}

  bool ReadBlock(int blockX, int blockY, void* out, bool& isCut) override {
    if (!loan_.ReadBlock(band_, blockX, blockY, out, isCut)) return false;
    const XString complaint = isExact_ ? loan_.GetComplaint() : XString();
    if (complaint.IsEmpty()) return true;
    XString sentence;
    sentence.Format("The block at column %d and row %d of blocks is damaged: %s", blockX, blockY, complaint.GetText());
    NoteReadError(sentence);
    return false;
  }

 private:
  GdalFile::Loan& loan_;
  GDALRasterBand* band_;
  bool isExact_;
};

}  // namespace

bool ReadNitfWindow(NitfFile& file, const NitfWindow& window, tagXArr2& out, const int* cancel) {
  const NitfLayout& layout = file.GetLayout();
  BlockPlan plan;
  plan.grid = layout.grid;
  plan.request = window.request;
  plan.sampleBytes = XfnGetDataSize(layout.bands[static_cast<std::size_t>(window.band)].dataType);
  plan.takesCutBlocks = !window.isExact;
  plan.file = file.GetBlocks();
  plan.plane = window.band;
  GdalFile::Loan loan(file.GetHandles());
  if (!loan) return false;
  NitfBlocks blocks(loan, window.band, window.isExact);
  return ReadBlockWindow(blocks, plan, out, cancel);
}

}  // namespace zrk
