#include "Samples.h"

#include "TempFolder.h"
#include "XRSFileIO.h"

#include <algorithm>
#include <filesystem>
#include <iterator>

std::ostream& operator<<(std::ostream& stream, const Sample& sample) {
  return stream << sample.name;
}

std::ostream& operator<<(std::ostream& stream, const Window& window) {
  return stream << window.x0 << ".." << window.x1 << " by " << window.y0 << ".." << window.y1;
}

const std::vector<Sample>& AllSamples() {
  static const std::vector<Sample> samples = CollectSamples();
  return samples;
}

std::vector<Sample> SmallSamples() {
  std::vector<Sample> samples;
  std::ranges::copy_if(AllSamples(), std::back_inserter(samples), &Sample::isSmall);
  return samples;
}

std::string PathOf(const Sample& sample) {
  static const TempFolder folder;
  const std::string name = sample.fileName ? sample.fileName : sample.name;
  std::string path = folder.Path(name);
  if (std::filesystem::exists(path)) return path;
  folder.Write(name, sample.build());
  if (!sample.companion) return path;
  const std::size_t stem = sample.fileName ? name.rfind('.') : name.size() - 4;
  folder.Write(name.substr(0, stem) + sample.companion, sample.buildCompanion());
  return path;
}

Pixels ReadPixels(ZRMBand& band, int level, const Window& window) {
  tagXArr2* out = nullptr;
  if (!band.ReadSubset(out, level, window.x0, window.x1, window.y0, window.y1, nullptr)) return {};
  const std::ptrdiff_t numBytes = std::ptrdiff_t{out->xSize} * out->ySize * out->elementSize;
  return {out->xSize, out->ySize, {out->data, out->data + numBytes}, out->elementSize};
}

Window WholeWindowOf(const ZRMBand& band) {
  return {0, band.GetXSize() - 1, 0, band.GetYSize() - 1};
}

OpenSample::OpenSample(const Sample& sample, int calcStatistics) {
  const std::string path = PathOf(sample);
  if (sample.disk == SampleDisk::kWithoutMaps) disk_.FailMap(1);
  const zrk::ScopedDisk scoped(disk_);
  file_.SetReadPolicy(sample.policy);
  isOpen_ = XRSFileIO::LoadFileRaster(&file_, sample.formatId, path, err_, calcStatistics, kLevelNone, nullptr);
}
