#include "XRSFile2XLD.h"

#include "base/Disk.h"
#include "core/xld/LevelFile.h"
#include "core/level/PyramidBuild.h"
#include "core/level/PyramidStore.h"
#include "core/native/SaverGroups.h"
#include "Xepot.h"
#include "XFile.h"
#include "XPath.h"
#include "XRSFile.h"
#include "XRSFileSaver.h"
#include "XStatistics.h"
#include "XThread.h"
#include "ZRMBandEPOT.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>

namespace {

constexpr int kFail = 0;

int FailWith(XString& err, const char* sentence) {
  err = sentence;
  return kFail;
}

/// The sums of one band's samples, and what follows from them.
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
    const double mean = GetMean(), squares = sumOfSquares - mean * mean * static_cast<double>(count);
    return std::sqrt(std::max(squares, 0.0) / (static_cast<double>(count) - 1.0));
  }
};

void SetStatistics(ZRMBand& record, double minValue, double maxValue, double mean, double stdDev,
                   const std::int64_t* histogram) {
  record.SetBandMin(minValue);
  record.SetBandMax(maxValue);
  record.SetBandMean(mean);
  record.SetBandStdDev(stdDev);
  record.SetHistogram(histogram);
}

/// Statistics of a band of which no sample counts stay unset.
void ResetStatistics(ZRMBand& record) {
  const std::array<std::int64_t, 256> none{};
  SetStatistics(record, kNotSet, kNotSet, kNotSet, kNotSet, none.data());
}

/// Posts a step out of `numSteps`; false where the operation shall stop.
bool ReportStep(XThread* thread, int step, int numSteps) {
  if (!thread) return true;
  thread->CallbackPercent(static_cast<int>(step * 100.0 / numSteps));
  return thread->GetState() != XThread::kStateStop;
}

/// Whether level data of a band has the shape that a level file tells for all: that of the first.
bool CanBeHalvedLike(const ZRMBand& first, const ZRMBand& band) {
  return first.GetXSize() == band.GetXSize() && first.GetYSize() == band.GetYSize();
}

}  // namespace

XRSFile2XLD::XRSFile2XLD() = default;
XRSFile2XLD::~XRSFile2XLD() = default;

void XRSFile2XLD::SetXRSFile(XRSFile* file) {
  if (file) file_ = file;
}

int XRSFile2XLD::Save(XString path, XString& err, int mode, XThread* thread) {
  if (path.IsEmpty() || !file_) return kFail;
  if (!file_->GetBandAt(0)) return FailWith(err, "No Band found");
  const XString unfinished = path + "_tmp";
  XFile out;
  if (!out.Open(unfinished, XFile::kReadWrite | XFile::kShareExclusive | XFile::kCreate)) {
    return FailWith(err, "Cannot open file to write");
  }
  const auto finish = [&] {
    if (!Write(out, err, mode, thread)) return kFail;
    // What takes the final name has to be on the medium before.
    if (!out.Flush() || !XFile::Rename(unfinished, path)) return FailWith(err, "Fail to write Data");
    zrk::CurrentDisk().SyncFolder(XfnGetFileFolder(path).AsStdString());
    return 1;
  };
  int isDone = kFail;
  try {
    isDone = finish();
  } catch (const std::bad_alloc&) {
    err = "Out of memory";
  }
  // While the file is held nobody else has begun one of that name.
  if (!isDone) XFile::Remove(unfinished);
  return isDone;
}

int XRSFile2XLD::Write(XFile& out, XString& err, int mode, XThread* thread) {
  const auto head = zrk::FormatLevelHead(-1);
  if (!out.WriteAt(0, head.data(), zrk::kLevelHeadBytes)) return FailWith(err, "Fail to write Data");
  Records records;
  for (int i = 0; i < file_->GetNumOfBands(); ++i) records.push_back(std::make_unique<ZRMBandEPOT>());

  const bool isFull = file_->GetBandAt(0)->GetLevel() >= 1 && (mode == 2 || mode == 3);
  std::int64_t end = zrk::kLevelHeadBytes;
  const int isFilled = isFull ? WritePyramids(out, records, end, err, thread) : WriteStatistics(records, err, thread);
  if (!isFilled) return kFail;

  const int dataType = file_->GetBandAt(file_->GetNumOfBands() - 1)->GetDataType();
  const XString text = MakeText(records, isFull ? kCompressionPlain : kCompressionNone, dataType);
  const auto whole = zrk::FormatLevelHead(end);
  const bool isWritten =
      out.WriteAt(end, text.GetText(), text.GetLength()) && out.WriteAt(0, whole.data(), zrk::kLevelHeadBytes);
  return isWritten ? 1 : FailWith(err, "Fail to write Data");
}

// The top of the pyramid is asked for at the count of levels and not at one less.

int XRSFile2XLD::WriteStatistics(Records& records, XString& err, XThread* thread) {
  const int numBands = file_->GetNumOfBands(), numSteps = 3 * numBands, level = file_->GetBandAt(0)->GetLevel();
  for (int i = 0; i < numBands; ++i) {
    ZRMBand* band = file_->GetBandAt(i);
    if (!band) return kFail;
    Sums sums;
    tagXArr2* data = nullptr;
    if (!band->ReadSubset(data, level, 0, band->GetXSize() - 1, 0, band->GetYSize() - 1, nullptr)) continue;
    if (!ReportStep(thread, 3 * i, numSteps)) return kFail;
    const int dataType = band->GetDataType();
    if (!XfnGetSubsetStatElem1(data->data, data->xSize, data->ySize, dataType, sums.sum, sums.sumOfSquares,
                               sums.minValue, sums.maxValue, sums.count, INT_MIN, INT_MAX, INT_MIN, INT_MAX, kNotSet)) {
      return FailWith(err, "Fail to calculate statistics");
    }
    if (!ReportStep(thread, 3 * i + 1, numSteps)) return kFail;
    if (!XfnGetSubsetStatElem3(data->data, data->xSize, data->ySize, dataType, kNotSet, -kNotSet, sums.minValue,
                               sums.maxValue, sums.histogram.data(), INT_MIN, INT_MAX, INT_MIN, INT_MAX, kNotSet)) {
      return FailWith(err, "Fail to calculate histogram");
    }
    if (!ReportStep(thread, 3 * i + 2, numSteps)) return kFail;
    ZRMBandEPOT& record = *records[static_cast<std::size_t>(i)];
    record.CloneBand(band);
    ResetStatistics(record);
    if (sums.count > 0) {
      SetStatistics(record, sums.minValue, sums.maxValue, sums.GetMean(), sums.GetStdDev(), sums.histogram.data());
    }
    band->CleanupMemory(1, 1);
  }
  return 1;
}

int XRSFile2XLD::WritePyramids(XFile& out, Records& records, std::int64_t& end, XString& err, XThread* thread) {
  const ZRMBand& first = *file_->GetBandAt(0);
  const int width = first.GetXSize(), height = first.GetYSize();
  const int xTile = first.GetXTileSize(), yTile = first.GetYTileSize();
  const int levels = Xepot::CalcProperLevel(width >> 1, height >> 1, xTile, yTile);
  zrk::PyramidJob job;
  job.window = {0, width - 1, 0, height - 1};
  job.top = zrk::PyramidTop::kHalfMean;
  job.thread = thread;
  for (std::size_t i = 0; i < records.size(); ++i) {
    ZRMBand* band = file_->GetBandAt(static_cast<int>(i));
    if (!band || !CanBeHalvedLike(first, *band)) return kFail;
    ZRMBandEPOT& record = *records[i];
    if (!record.SetImage(&out, end, width >> 1, height >> 1, band->GetDataType(), xTile, yTile, levels,
                         kCompressionPlain)) {
      return kFail;
    }
    end += record.GetEPOT()->GetSize();
    job.bands.push_back({band,
                         std::dynamic_pointer_cast<zrk::PlainStore>(record.GetEPOT()->GetStore()),
                         {band->GetBandType() == kBandTypeThematic, kNotSet},
                         {},
                         {}});
  }
  if (!out.Preallocate(end)) return FailWith(err, "Fail to write Data");
  const zrk::PyramidResult result = zrk::BuildPyramids(job);
  if (result == zrk::PyramidResult::kStopped) return kFail;
  if (result != zrk::PyramidResult::kDone) return FailWith(err, zrk::GetSentence(result));

  for (std::size_t i = 0; i < records.size(); ++i) {
    ZRMBand* band = file_->GetBandAt(static_cast<int>(i));
    const zrk::PyramidBand& built = job.bands[i];
    records[i]->CloneBand(band);
    ResetStatistics(*records[i]);
    if (built.summary.count > 0) {
      SetStatistics(*records[i], built.summary.minValue, built.summary.maxValue, built.summary.mean,
                    built.summary.stdDev, built.histogram.data());
    }
    band->CleanupMemory(1, 1);
  }
  return 1;
}

// Sizes and levels are those of the first band, and the data type that of the last one, for all bands.

XString XRSFile2XLD::MakeText(const Records& records, int compression, int dataType) {
  ZRMBand& first = *file_->GetBandAt(0);
  XRSFileSaver saver;
  saver.WriteInitTags();
  for (const auto& record : records) {
    saver.WriteBandTag();
    saver.CopyBandInfo(record.get(), first.GetLevel(), first.GetXTileSize(), first.GetYTileSize(), first.GetXSize(),
                       first.GetYSize(), dataType, compression, record->GetBandMin(), record->GetBandMax(),
                       record->GetBandMean(), record->GetBandStdDev(), record->GetHistogram());
    saver.CopyBandBasicInfo(record.get());
    saver.WriteBandCoordInfo(record->GetULX(), record->GetULY(), record->GetXPixelSize(), record->GetYPixelSize());
    zrk::CopyDescription(saver, *record);
  }
  zrk::CopyDataset(saver, *file_);
  return saver.GetXML();
}
