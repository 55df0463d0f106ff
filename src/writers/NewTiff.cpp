#include "writers/NewTiff.h"

#include "base/Checked.h"
#include "writers/TiffJob.h"
#include "writers/TiffTagWriter.h"

#include <algorithm>

namespace zrk {
namespace {

/// The largest that the file can become, told before its tags are set. Strips are counted at the fewer rows of the two
/// heights that are in use, and for each band, so that the list of strips is never longer than taken here. A size that
/// 64 bits do not hold can't be told at all and takes the wide form.
bool NeedsBigTiff(const TiffJob& job) {
  const int width = job.window.Width(), height = job.window.Height();
  const std::int64_t pixelBytes = job.IsPalette() ? 1 : std::int64_t{job.SampleBytes()} * job.numBands;
  const auto sampleBytes = CheckedMultiply(std::int64_t{width} * height, pixelBytes);
  const int rowsPerStrip = std::min(kRowsPerStrip, job.BlockHeight());
  const std::int64_t numStrips = ((height - 1) / rowsPerStrip + std::int64_t{1}) * job.numBands;
  return !sampleBytes || zrk::NeedsBigTiff(*sampleBytes, numStrips, job.numBands);
}

}  // namespace

/// The output shares the open file and knows nothing of its name. An object that is given up on the way removes what it
/// has begun.
std::unique_ptr<NewTiff> NewTiff::Begin(const TiffJob& job) {
  auto tiff = std::make_unique<NewTiff>();
  tiff->replaced_ = ReplacedImage(job.path);
  if (!MayReplace(*job.dataset, job.path) || !tiff->file_.BeginOrFill(job.path)) return nullptr;
  tiff->output_ = TiffOutput::Create(tiff->file_.File().GetDiskFile(), NeedsBigTiff(job));
  return tiff->output_ ? std::move(tiff) : nullptr;
}

/// A file whose head is not written yet is no TIFF, and must not take the place of one.
bool NewTiff::Publish() {
  if (!output_->IsFinished() || !file_.Publish()) return false;
  replaced_.RemoveLevelFile();
  return true;
}

}  // namespace zrk
