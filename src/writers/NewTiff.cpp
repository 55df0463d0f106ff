#include "writers/NewTiff.h"

#include "base/Checked.h"
#include "writers/OutputPath.h"
#include "writers/TiffJob.h"
#include "writers/TiffTagWriter.h"

#include <algorithm>

namespace zrk {
namespace {

bool NeedsBigTiff(const TiffJob& job) {
  const int width = job.window.Width(), height = job.window.Height();
  const std::int64_t pixelBytes = job.IsPalette() ? 1 : std::int64_t{job.SampleBytes()} * job.numBands;
  const auto sampleBytes = CheckedMultiply(std::int64_t{width} * height, pixelBytes);
  const int rowsPerStrip = std::min(kRowsPerStrip, job.BlockHeight());
  const std::int64_t numStrips = ((height - 1) / rowsPerStrip + std::int64_t{1}) * job.numBands;
  return !sampleBytes || zrk::NeedsBigTiff(*sampleBytes, numStrips, job.numBands);
}

}  // namespace

std::unique_ptr<NewTiff> NewTiff::Begin(const TiffJob& job) {
  auto tiff = std::make_unique<NewTiff>();
  if (!MayReplace(*job.dataset, job.path) || !tiff->file_.BeginOrFill(job.path)) return nullptr;
  tiff->output_ = TiffOutput::Create(tiff->file_.File().GetDiskFile(), NeedsBigTiff(job));
  return tiff->output_ ? std::move(tiff) : nullptr;
}

bool NewTiff::Publish() {
  return output_->IsFinished() && file_.Publish();
}

}  // namespace zrk
