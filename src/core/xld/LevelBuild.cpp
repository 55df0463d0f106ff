// A level file is a head, a pyramid for each band, and a text that ends it. The short form has no pyramids and the
// statistics of the coarsest level; the full form has those of the half-size image, which is the top of its pyramid.
//
// The file is written in the order of its bytes but for the head, which says last where the text begins. Pyramids are
// planned first, so that each has its offset and the disk can be asked for all of the room at once. They are then built
// together, in one pass over the source, by as many threads as the caller grants. Everything else is done by one
// thread. A null value counts like any other sample here, in means as in statistics.

#include "core/xld/LevelBuild.h"

#include "base/Disk.h"
#include "base/Failure.h"
#include "base/OwnReads.h"
#include "core/level/PyramidStore.h"
#include "core/level/TileSource.h"
#include "core/model/StripStatistics.h"
#include "core/native/SaverGroups.h"
#include "core/xld/LevelFile.h"
#include "Xepot.h"
#include "XRSFile.h"
#include "XRSFileSaver.h"
#include "XStatistics.h"
#include "XThread.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>

namespace zrk {
namespace {

/// The sums of one band's samples, and what follows from them. The range begins turned around, so that the first sample
/// sets both ends.
struct Sums {
  double sum = 0.0;
  double sumOfSquares = 0.0;
  double minValue = kNotSet;
  double maxValue = -kNotSet;
  std::int64_t count = 0;
  std::array<std::int64_t, 256> histogram{};

  double GetMean() const { return sum / static_cast<double>(count); }
  double GetStdDev() const {
    if (count == 1) return 0.0;
    // Rounding may leave the difference a little below 0.
    const double mean = GetMean(), squares = sumOfSquares - mean * mean * static_cast<double>(count);
    return std::sqrt(std::max(squares, 0.0) / (static_cast<double>(count) - 1.0));
  }
};

bool AddRange(const tagXArr2& data, int dataType, Sums& sums) {
  return XfnGetSubsetStatElem1(data.data, data.xSize, data.ySize, dataType, sums.sum, sums.sumOfSquares, sums.minValue,
                               sums.maxValue, sums.count, INT_MIN, INT_MAX, INT_MIN, INT_MAX, kNotSet);
}

/// The second pass over the samples: the bins follow from the range, which the first pass finds.
bool AddHistogram(const tagXArr2& data, int dataType, Sums& sums) {
  return XfnGetSubsetStatElem3(data.data, data.xSize, data.ySize, dataType, kNotSet, -kNotSet, sums.minValue,
                               sums.maxValue, sums.histogram.data(), INT_MIN, INT_MAX, INT_MIN, INT_MAX, kNotSet);
}

/// Takes what is known of a band over, without its statistics, which are those of other pixels.
void CopyFields(ZRMBand& record, ZRMBand& band) {
  const std::array<std::int64_t, 256> none{};
  record.CloneBand(&band);
  SetStatistics(record, {0, kNotSet, kNotSet, kNotSet, kNotSet}, none.data());
}

/// Whether level data of a band has the shape of the first band's, which is what the level file tells for all bands.
bool CanBeHalvedLike(const ZRMBand& first, const ZRMBand& band) {
  return first.GetXSize() == band.GetXSize() && first.GetYSize() == band.GetYSize();
}

/// Means of class numbers are other classes. The compatible policy makes them nevertheless.
bool TakesClasses(const ZRMBand& band) {
  return band.GetBandType() == kBandTypeThematic && band.IsExact();
}

}  // namespace

bool LevelBuild::Fail(const char* sentence) {
  return FailWith(err_, sentence);
}

/// A stop has no sentence. The flag lets the caller tell it from a failure.
bool LevelBuild::Check(PyramidResult result) {
  wasStopped_ = result == PyramidResult::kStopped;
  return result == PyramidResult::kDone || (!wasStopped_ && Fail(GetSentence(result)));
}

/// Posts one of three steps of a band; false where the build shall stop.
bool LevelBuild::ReportStep(int step) {
  if (!thread_) return true;
  thread_->CallbackPercent(static_cast<int>(step * 100.0 / (3 * dataset_.GetNumOfBands())));
  wasStopped_ = thread_->GetState() == XThread::kStateStop;
  return !wasStopped_;
}

/// The file takes its name only when it is whole, so that an old level file serves until then.
bool LevelBuild::Run(const XString& path, bool wantsPyramids) {
  if (!output_.Begin(path)) return Fail("Cannot open file to write");
  return Write(wantsPyramids) && (output_.Publish() || Fail("Fail to write Data"));
}

/// The head of an unfinished file has -1 for the offset of the text, so that no reader takes it for a whole one.
bool LevelBuild::Write(bool wantsPyramids) {
  XFile& out = output_.File();
  const auto head = FormatLevelHead(-1);
  if (!out.WriteAt(0, head.data(), kLevelHeadBytes)) return Fail("Fail to write Data");
  for (int i = 0; i < dataset_.GetNumOfBands(); ++i) records_.push_back(std::make_unique<ZRMBandEPOT>());
  end_ = kLevelHeadBytes;
  const bool isFull = wantsPyramids && dataset_.GetBandAt(0)->GetLevel() >= 1;
  if (!WritePixels(isFull)) return false;

  const XString text = MakeText(isFull ? kCompressionPlain : kCompressionNone);
  const auto whole = FormatLevelHead(end_);
  const bool isWritten =
      out.WriteAt(end_, text.GetText(), text.GetLength()) && out.WriteAt(0, whole.data(), kLevelHeadBytes);
  return isWritten || Fail("Fail to write Data");
}

bool LevelBuild::WritePixels(bool isFull) {
  watched_ = WatchImage(dataset_);
  if (watched_) fingerprint_.emplace(watched_->length);
  return (isFull ? BuildPyramids() : MeasureBands()) && StampImage();
}

/// Levels of an image that is changed while they are made may be of neither image. They are given up in the exact
/// policy. Otherwise they keep a stamp that fits nothing.
bool LevelBuild::StampImage() {
  if (!watched_) return true;
  const int* const cancel = thread_ ? thread_->GetStatePtr() : nullptr;
  const StampResult result = zrk::StampImage(dataset_, *watched_, *fingerprint_, cancel, stamp_);
  wasStopped_ = result == StampResult::kStopped;
  if (wasStopped_) return false;
  if (result == StampResult::kUnreadable && watched_->length >= 0) return Fail(GetSentence(PyramidResult::kReadFailed));
  const bool isGivenUp = stamp_.status.length < 0 && dataset_.GetReadPolicy() == kReadExact;
  return !isGivenUp || Fail("The image was changed while its levels were made");
}

bool LevelBuild::MeasureBands() {
  for (int i = 0; i < dataset_.GetNumOfBands(); ++i) {
    if (!MeasureBand(i)) return false;
  }
  return true;
}

/// The image is asked for at the count of levels, which is the coarsest one that a band serves. A band that can't be
/// read has no statistics, and its record stays empty; the build goes on with the others. In the exact policy it fails.
bool LevelBuild::MeasureBand(int index) {
  const OwnReads own;
  ZRMBand* band = dataset_.GetBandAt(index);
  if (!band) return false;
  Sums sums;
  tagXArr2* data = nullptr;
  const int level = dataset_.GetBandAt(0)->GetLevel(), dataType = band->GetDataType();
  if (!band->ReadSubset(data, level, 0, band->GetXSize() - 1, 0, band->GetYSize() - 1, nullptr)) {
    return dataset_.GetReadPolicy() == kReadCompatible || Fail(GetSentence(PyramidResult::kReadFailed));
  }
  if (!ReportStep(3 * index)) return false;
  if (!AddRange(*data, dataType, sums)) return Fail("Fail to calculate statistics");
  if (!ReportStep(3 * index + 1)) return false;
  if (!AddHistogram(*data, dataType, sums)) return Fail("Fail to calculate histogram");
  if (!ReportStep(3 * index + 2)) return false;
  ZRMBandEPOT& record = *records_[static_cast<std::size_t>(index)];
  CopyFields(record, *band);
  if (sums.count > 0) {
    SetStatistics(record, {sums.count, sums.minValue, sums.maxValue, sums.GetMean(), sums.GetStdDev()},
                  sums.histogram.data());
  }
  band->CleanupMemory(1, 1);
  return true;
}

/// The fingerprint that takes what is read of a band: bands of other files have none. Called when the image is watched,
/// so that the name does not lead to another file afterwards without a change of times.
Fingerprint* LevelBuild::FindFingerprintOf(ZRMBand& band) {
  const PlainStore* const tiles = FindTileStore(band);
  const bool isOfImage = fingerprint_ && tiles && tiles->LiesIn(ImagePathOf(dataset_).AsStdString());
  return isOfImage ? &*fingerprint_ : nullptr;
}

/// Gives a band its store, behind those of the bands before. Sizes and tiles are the first band's for all, because the
/// text tells the same ones for every band.
bool LevelBuild::PlanPyramid(int index, PyramidJob& job) {
  const ZRMBand& first = *dataset_.GetBandAt(0);
  ZRMBand* band = dataset_.GetBandAt(index);
  if (!band || !CanBeHalvedLike(first, *band)) return false;
  const int width = first.GetXSize() >> 1, height = first.GetYSize() >> 1;
  const int xTile = first.GetXTileSize(), yTile = first.GetYTileSize();
  const int levels = Xepot::CalcProperLevel(width, height, xTile, yTile);
  ZRMBandEPOT& record = *records_[static_cast<std::size_t>(index)];
  if (!record.SetImage(&output_.File(), end_, width, height, band->GetDataType(), xTile, yTile, levels,
                       kCompressionPlain)) {
    return false;
  }
  end_ += record.GetEPOT()->GetSize();
  job.bands.push_back({band,
                       std::dynamic_pointer_cast<PlainStore>(record.GetEPOT()->GetStore()),
                       {band->GetBandType() == kBandTypeThematic, kNotSet, TakesClasses(*band)},
                       FindFingerprintOf(*band),
                       {},
                       {}});
  return true;
}

/// Workers that find nothing left to build read what is missing of the image's fingerprint. What they can't read is
/// noticed when the image is stamped. Before that, one of them makes the system forget the old level file: that is work
/// for one thread otherwise, when the new file takes its name.
void LevelBuild::PlanExtras(PyramidJob& job) {
  std::shared_ptr<DiskFile> image;
  if (watched_ && watched_->length >= 0) CurrentDisk().Open(ImagePathOf(dataset_).AsStdString(), {}, image);
  job.numExtras = 1 + (image ? std::min(fingerprint_->CountChunks(), INT_MAX / 2) : 0);
  job.doExtra = [this, image](int extra, std::vector<unsigned char>& room) {
    if (extra == 0) {
      output_.DropOld();
    } else {
      fingerprint_->ReadChunk(*image, extra - 1, room);
    }
  };
}

/// All bands are planned before the first is built, so that bands that are not alike are found while the file has
/// nothing but a head.
bool LevelBuild::BuildPyramids() {
  const ZRMBand& first = *dataset_.GetBandAt(0);
  PyramidJob job;
  job.window = {0, first.GetXSize() - 1, 0, first.GetYSize() - 1};
  job.top = PyramidTop::kHalfMean;
  job.thread = thread_;
  for (int i = 0; i < dataset_.GetNumOfBands(); ++i) {
    if (!PlanPyramid(i, job)) return false;
  }
  PlanExtras(job);
  if (!output_.File().Preallocate(end_)) return Fail("Fail to write Data");
  if (!Check(zrk::BuildPyramids(job))) return false;
  for (std::size_t i = 0; i < records_.size(); ++i) {
    const PyramidBand& built = job.bands[i];
    CopyFields(*records_[i], *built.source);
    if (built.summary.count > 0) SetStatistics(*records_[i], built.summary, built.histogram.data());
    built.source->CleanupMemory(1, 1);
  }
  return true;
}

/// Sizes and levels are those of the first band, and the data type that of the last one, for all bands.
XString LevelBuild::MakeText(int compression) {
  ZRMBand& first = *dataset_.GetBandAt(0);
  const int dataType = dataset_.GetBandAt(dataset_.GetNumOfBands() - 1)->GetDataType();
  XRSFileSaver saver;
  saver.WriteInitTags();
  for (std::size_t i = 0; i < records_.size(); ++i) {
    const auto& record = records_[i];
    saver.WriteBandTag();
    saver.CopyBandInfo(record.get(), first.GetLevel(), first.GetXTileSize(), first.GetYTileSize(), first.GetXSize(),
                       first.GetYSize(), dataType, compression, record->GetBandMin(), record->GetBandMax(),
                       record->GetBandMean(), record->GetBandStdDev(), record->GetHistogram());
    saver.CopyBandBasicInfo(record.get());
    saver.WriteBandCoordInfo(record->GetULX(), record->GetULY(), record->GetXPixelSize(), record->GetYPixelSize());
    CopyDescription(saver, *record);
    const bool hasStore = compression != kCompressionNone;
    if (hasStore && TakesClasses(*dataset_.GetBandAt(static_cast<int>(i)))) saver.WriteLevelClasses();
  }
  CopyDataset(saver, dataset_);
  const FileStatus& image = stamp_.status;
  if (watched_) saver.WriteLevelImage(image.length, image.modified, image.changed, stamp_.fingerprint);
  return saver.GetXML();
}

}  // namespace zrk
