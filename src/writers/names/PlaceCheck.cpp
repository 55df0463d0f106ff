// Checks a PBP file from end to end, one axis after the other. The coordinates of an axis are read into memory, since
// its table refers to them in any order. Then the table is walked. Each record may stand in a table once, and no
// coordinate may be smaller than the one before it.

#include "base/Fence.h"
#include "writers/names/CoordinateSort.h"
#include "writers/names/PbpFile.h"
#include "XLimits.h"
#include "XPBPReader.h"
#include "XThread.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace zrk {

namespace {

constexpr std::int64_t kCheckBlock = 8192;

class PlaceCheck {
 public:
  PlaceCheck(const PbpFile& file, tagXPlaceReport& report, XThread* thread)
      : file_(file), report_(report), thread_(thread) {}

  /// False where the thread stops it.
  bool Run() { return CheckAxis(PbpAxis::kFirst) && CheckAxis(PbpAxis::kSecond); }

 private:
  bool CheckAxis(PbpAxis axis);
  bool ReadCoordinates(PbpAxis axis);
  bool CheckTable(PbpAxis axis);
  void CheckEntry(PbpAxis axis, std::int64_t rank, std::int32_t number);
  void CheckOrder(PbpAxis axis, std::int64_t rank, double coordinate);
  void AddFinding(PbpAxis axis, std::int64_t rank, const std::string& text);
  bool MoveOn(std::int64_t done);

  const PbpFile& file_;
  tagXPlaceReport& report_;
  XThread* thread_;
  std::vector<double> coordinates_;  // of the axis, by record
  std::vector<bool> isSeen_;
  double last_ = 0.0;
  bool hasLast_ = false;
  int numPasses_ = 0;
};

/// Two passes an axis: over the records, and over the table.
bool PlaceCheck::MoveOn(std::int64_t done) {
  constexpr double kAllPasses = 4.0;
  if (!thread_) return true;
  if (thread_->GetState() != XThread::kStateRun) return false;
  thread_->CallbackPercent(100.0 * (numPasses_ + static_cast<double>(done) / file_.GetCount()) / kAllPasses);
  return true;
}

void PlaceCheck::AddFinding(PbpAxis axis, std::int64_t rank, const std::string& text) {
  ++report_.numFindings;
  if (report_.findings.size() == tagXPlaceReport::kMaxFindings) return;
  const std::string table = axis == PbpAxis::kFirst ? "first" : "second";
  report_.findings.emplace_back("Rank " + std::to_string(rank) + " of the table by the " + table + " coordinate " +
                                text);
}

bool PlaceCheck::ReadCoordinates(PbpAxis axis) {
  const std::int64_t count = file_.GetCount();
  coordinates_.resize(static_cast<std::size_t>(count));
  std::vector<tagPName> block;
  for (std::int64_t begin = 0; begin < count; begin += kCheckBlock) {
    if (!MoveOn(begin)) return false;
    block.resize(static_cast<std::size_t>(std::min(kCheckBlock, count - begin)));
    file_.ReadRecords(begin, block);
    const auto member = axis == PbpAxis::kFirst ? &tagPName::first : &tagPName::second;
    std::ranges::transform(block, coordinates_.begin() + begin, member);
    // Each record is counted once, with the first axis.
    const auto isNoNumber = [](const tagPName& each) { return std::isnan(each.first) || std::isnan(each.second); };
    if (axis == PbpAxis::kFirst) report_.numNotNumbers += std::ranges::count_if(block, isNoNumber);
  }
  ++numPasses_;
  return true;
}

void PlaceCheck::CheckOrder(PbpAxis axis, std::int64_t rank, double coordinate) {
  if (hasLast_ && CompareCoordinates(coordinate, last_) < 0)
    AddFinding(axis, rank, "comes before the rank in front of it");
  last_ = coordinate;
  hasLast_ = true;
}

/// A place that is not there has no coordinate to compare.
void PlaceCheck::CheckEntry(PbpAxis axis, std::int64_t rank, std::int32_t number) {
  if (number < 0 || number >= file_.GetCount()) {
    AddFinding(axis, rank, "names the place " + std::to_string(number) + ", which is not there");
    return;
  }
  const auto index = static_cast<std::size_t>(number);
  if (isSeen_[index]) AddFinding(axis, rank, "names the place " + std::to_string(number) + " again");
  isSeen_[index] = true;
  CheckOrder(axis, rank, coordinates_[index]);
}

bool PlaceCheck::CheckTable(PbpAxis axis) {
  const std::int64_t count = file_.GetCount();
  isSeen_.assign(static_cast<std::size_t>(count), false);
  hasLast_ = false;
  std::vector<std::int32_t> block;
  for (std::int64_t begin = 0; begin < count; begin += kCheckBlock) {
    if (!MoveOn(begin)) return false;
    block.resize(static_cast<std::size_t>(std::min(kCheckBlock, count - begin)));
    file_.ReadTable(axis, begin, block);
    for (std::size_t i = 0; i < block.size(); ++i) CheckEntry(axis, begin + static_cast<std::int64_t>(i), block[i]);
  }
  ++numPasses_;
  return true;
}

bool PlaceCheck::CheckAxis(PbpAxis axis) {
  return ReadCoordinates(axis) && CheckTable(axis);
}

/// Tables of a file of another length are not where they should be, and are not looked at.
bool CheckPbpFile(const PbpFile& file, tagXPlaceReport& report, XThread* thread) {
  report.numPlaces = file.GetCount();
  if (const XString wrong = file.FindWrongLength(); !wrong.IsEmpty()) {
    report.findings.push_back(wrong);
    report.numFindings = 1;
    return true;
  }
  const auto maxPlaces = XfnGetLimits().tableBytes / static_cast<std::int64_t>(sizeof(double));
  if (file.GetCount() > maxPlaces) throw PbpFault("The file has more places than the limits allow to check");
  return PlaceCheck(file, report, thread).Run();
}

}  // namespace

}  // namespace zrk

int XfnCheckPlaces(const XString& path, tagXPlaceReport& report, XString& err, XThread* thread) {
  return zrk::Fenced(err, [&] {
    tagXPlaceReport found;
    if (!zrk::CheckPbpFile(*zrk::PbpFile::Open(path), found, thread)) return 0;
    report = std::move(found);
    return 1;
  });
}
