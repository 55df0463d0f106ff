// A view is a dataset whose bands show bands of another one, chosen and ordered anew. Nothing is copied but the
// description, and pixels only where one source is shown more than once. The other dataset must outlive the view.

#include "DatasetView.h"

#include "Dataset.h"
#include "XJointReader.h"
#include "XPaletteReader.h"
#include "XThreadSafeArr.h"

#include <algorithm>
#include <cstring>

namespace {

/// Shows another band, pixel for pixel and level for level. Views are read together where their sources can be.
class BandView : public ZRMBand, public XJointReader, public XPaletteReader {
 public:
  /// With `isShared` the source is shown by other views too, whose reads must not change what this one has handed out.
  BandView(ZRMBand& source, bool isShared) : source_(source), isShared_(isShared) {
    CloneBand(&source);
    SetDecodeRows(source.GetDecodeRows());
  }

  int GetLevel() override { return source_.GetLevel(); }

  using ZRMBand::ReadSubset;
  int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) override {
    tagXArr2* result = nullptr;
    if (!source_.ReadSubset(result, level, x0, x1, y0, y1, cancel) || !result) return 0;
    if (isShared_) result = KeepCopy(*result);
    if (!result) return 0;
    out = result;
    return 1;
  }

  /// Views of bands that are read together are read together too.
  const void* GetJointSource() const override {
    const auto* reader = dynamic_cast<const XJointReader*>(&source_);
    return reader ? reader->GetJointSource() : nullptr;
  }
  int ReadJointly(std::span<ZRMBand* const> bands, int x0, int x1, int y0, int y1, int* cancel,
                  std::span<tagXArr2*> out) override {
    std::vector<ZRMBand*> sources;
    for (ZRMBand* band : bands) {
      const auto* view = dynamic_cast<const BandView*>(band);
      if (!view) return 0;
      sources.push_back(&view->source_);
    }
    return XfnReadBands(sources, x0, x1, y0, y1, cancel, out);
  }

  /// A palette is shown as the source shows it.
  const void* GetPaletteSource() const override {
    const auto* reader = dynamic_cast<const XPaletteReader*>(&source_);
    return reader ? reader->GetPaletteSource() : nullptr;
  }
  tagXColourMap GetColourMap() const override {
    const auto* reader = dynamic_cast<const XPaletteReader*>(&source_);
    return reader ? reader->GetColourMap() : tagXColourMap();
  }
  std::unique_ptr<ZRMBand> MakeIndexBand() override {
    auto* const reader = dynamic_cast<XPaletteReader*>(&source_);
    return reader ? reader->MakeIndexBand() : nullptr;
  }

  /// Memory is freed in both places where it may lie.
  int CleanupMemory(int freeBuffers, int force) override {
    if (freeBuffers && IsMemoryWanted(force)) copies_.FreeCurrentThreadsBuffer();
    return source_.CleanupMemory(freeBuffers, force);
  }

 private:
  /// A source answers with one buffer for each thread, which the next view's read would overwrite.
  tagXArr2* KeepCopy(const tagXArr2& result) {
    tagXArr2* copy = copies_.GetBuffer(result.xSize, result.ySize, result.elementSize);
    if (!copy) return nullptr;
    const std::size_t numSamples = static_cast<std::size_t>(result.xSize) * static_cast<std::size_t>(result.ySize);
    std::memcpy(copy->data, result.data, numSamples * static_cast<std::size_t>(result.elementSize));
    return copy;
  }

  ZRMBand& source_;
  bool isShared_;
  XThreadSafeArr2 copies_;
};

/// What is told of the dataset as a whole holds for any choice of its bands.
void CopyDescription(const XRSFile& source, XRSFile& view) {
  view.SetName(source.GetName());
  view.SetFilePath(source.GetFilePath());
  view.SetVersion(source.GetVersion());
  view.SetThreshold1(source.GetThreshold1());
  view.SetDescription(source.GetDescription());
  view.SetAttatchFlag(source.GetAttatchFlag());
  if (const tagXRadarScene* scene = source.GetRadarScene()) {
    view.SetRadarScene(std::make_unique<tagXRadarScene>(*scene).release());
  }
  for (int i = 0; i < source.GetNumOfGCPSet(); ++i) {
    view.AddGCPSet(std::make_unique<tagGCPSets>(*source.GetGCPSetAt(i)).release());
  }
  for (int i = 0; i < source.GetNumOfROI(); ++i) {
    view.AddROISet(std::make_unique<XROI>(*source.GetROIAt(i)).release());
  }
}

/// Texts of the file hold for the view; those of a band come with each view of it.
void CopyMetadata(const XRSFile& source, const std::vector<int>& numbers, XRSFile& view) {
  for (const tagXMetadataItem& item : source.GetMetadata()) {
    if (item.band < 0) view.AddMetadata(item);
    for (std::size_t i = 0; i < numbers.size(); ++i) {
      tagXMetadataItem own = item;
      own.band = static_cast<int>(i);
      if (item.band >= 0 && item.band == numbers[i] - 1) view.AddMetadata(own);
    }
  }
}

}  // namespace

std::unique_ptr<XRSFile> MakeDatasetView(const XRSFile& source, const std::vector<int>& numbers, std::string& err) {
  auto view = std::make_unique<XRSFile>();
  for (const int number : numbers) {
    ZRMBand* band = FindBand(source, number, err);
    if (!band) return nullptr;
    // A channel may be asked for twice.
    const bool isShared = std::count(numbers.begin(), numbers.end(), number) > 1;
    view->AddBand(std::make_unique<BandView>(*band, isShared).release());
  }
  CopyDescription(source, *view);
  CopyMetadata(source, numbers, *view);
  return view;
}
