#include "bands/nitf/NitfWindow.h"

#include "base/ReadError.h"
#include "core/model/BlockWindow.h"
#include "core/model/PlainWindow.h"
#include "XDataType.h"

#include <cstdint>
#include <optional>

namespace zrk {

namespace {

/// The blocks of a band: of JPEG where the file decodes them, and otherwise from a handle of GDAL's, which is borrowed
/// when the first block needs it. GDAL's decoder of JPEG warns of damage and goes on with what it has.
class NitfBlocks final : public BlockSource {
 public:
  NitfBlocks(NitfFile& file, int band, bool isExact) : file_(file), number_(band), isExact_(isExact) {}

  bool ReadBlock(int blockX, int blockY, void* out, bool& isCut) override {
    NitfJpeg* const jpeg = file_.GetJpeg();
    const std::int64_t number = file_.GetLayout().image.blocksAcross * blockY + blockX;
    if (jpeg && jpeg->ReadBlock(number, static_cast<unsigned char*>(out))) return true;
    if (!loan_) loan_.emplace(file_.GetHandles());
    return *loan_ && ReadThroughGdal(blockX, blockY, out, isCut);
  }

 private:
  bool ReadThroughGdal(int blockX, int blockY, void* out, bool& isCut) {
    if (!loan_->ReadBlock(loan_->GetBand(number_), blockX, blockY, out, isCut)) return false;
    const XString complaint = isExact_ ? loan_->GetComplaint() : XString();
    if (complaint.IsEmpty()) return true;
    XString sentence;
    sentence.Format("The block at column %d and row %d of blocks is damaged: %s", blockX, blockY, complaint.GetText());
    NoteReadError(sentence);
    return false;
  }

  NitfFile& file_;
  std::optional<GdalFile::Loan> loan_;
  int number_;
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
  // What does not come straight out of the file is asked of GDAL, which tells what is wrong with it.
  const PlainBlocks* const plain = file.FindPlain(window.band);
  if (plain && ReadPlainWindow(*plain, plan, out, cancel)) return true;
  NitfBlocks blocks(file, window.band, window.isExact);
  return ReadBlockWindow(blocks, plan, out, cancel);
}

}  // namespace zrk
