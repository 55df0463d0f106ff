// The record of done tiles:
//
//   offset  size  what
//        0     8  mark, "ZRKdone1", written last
//        8     8  key of what the export is made of
//       16     8  number of units
//       24     8  1 when all tiles are done and the file gets its name, otherwise 0
//       32     8  when that file was written last, in nanoseconds since 1970
//       40    24  zero
//       64        a byte for each unit, levels in the order of the plan; bit i stands for tile i of the unit
//
// A crash of the process loses no write, but one of the machine may lose any that the medium was not waited for. So the
// tiles are brought to the medium first, and then their bits are written. A crash between the two costs some tiles that
// are made again. When the file has its name the bits go, and the head stays for others to ask.

#include "writers/globe/DoneRecord.h"

#include "base/Disk.h"
#include "writers/globe/ExportFile.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstring>
#include <utility>

namespace zrk {

namespace {

constexpr std::int64_t kHeadBytes = 64;
constexpr std::size_t kMarkBytes = 8;
constexpr char kMark[] = "ZRKdone1";
constexpr int kUsualUnits = 512;
constexpr std::chrono::seconds kLongestWait{2};

std::atomic<int> unitsBetweenFlushes = 0;

struct RecordHead {
  char mark[kMarkBytes];
  std::uint64_t key;
  std::int64_t numUnits;
  std::int64_t isWhole;
  std::int64_t modified;
  std::int64_t zeros[3];
};
static_assert(std::endian::native == std::endian::little && sizeof(RecordHead) == kHeadBytes);

RecordHead BuildHead(std::uint64_t key, std::int64_t numUnits) {
  RecordHead head{};
  std::memcpy(head.mark, kMark, kMarkBytes);
  head.key = key;
  head.numUnits = numUnits;
  return head;
}

}  // namespace

void SetUnitsBetweenFlushes(int count) {
  unitsBetweenFlushes = count;
}

DoneRecord::DoneRecord(std::shared_ptr<DiskFile> record, const TilePlan& plan, std::uint64_t key)
    : record_(std::move(record)), plan_(plan), key_(key) {}

DoneRecord::~DoneRecord() = default;

DoneRecord::Status DoneRecord::GetStatus() const {
  RecordHead head;
  if (record_->ReadAt(0, &head, kHeadBytes) != kHeadBytes) return {};
  if (std::memcmp(head.mark, kMark, kMarkBytes) != 0) return {};
  const bool isOfThis = head.key == key_ && head.numUnits == plan_.CountUnitsBefore(plan_.CountLevels());
  return {true, isOfThis, head.isWhole == 1, head.modified};
}

/// Room is taken for all bytes at once, so that a full disk is found now.
bool DoneRecord::Begin() {
  const std::int64_t numUnits = plan_.CountUnitsBefore(plan_.CountLevels());
  if (record_->SetSize(0) != 0 || record_->Preallocate(kHeadBytes + numUnits) != 0) return false;
  const RecordHead head = BuildHead(key_, numUnits);
  return record_->WriteAt(kMarkBytes, &head.key, kHeadBytes - std::int64_t{kMarkBytes}) == 0 && record_->Sync() == 0 &&
         record_->WriteAt(0, head.mark, kMarkBytes) == 0 && record_->Sync() == 0;
}

bool DoneRecord::Forget() {
  return record_->SetSize(0) == 0 && record_->Sync() == 0;
}

/// The time comes before the word that says that it counts.
bool DoneRecord::NoteWhole(std::int64_t modified) {
  const std::int64_t isWhole = 1;
  return record_->WriteAt(offsetof(RecordHead, modified), &modified, sizeof modified) == 0 && record_->Sync() == 0 &&
         record_->WriteAt(offsetof(RecordHead, isWhole), &isWhole, sizeof isWhole) == 0 && record_->Sync() == 0;
}

/// Bits that stay do no harm.
void DoneRecord::ForgetTiles() {
  record_->SetSize(kHeadBytes);
}

void DoneRecord::UseRecord(std::shared_ptr<DiskFile> record) {
  record_ = std::move(record);
}

void DoneRecord::SetFile(std::shared_ptr<ExportFile> file) {
  file_ = std::move(file);
}

std::int64_t DoneRecord::OffsetOf(int index, std::int64_t unit) const {
  return kHeadBytes + plan_.CountUnitsBefore(index) + unit;
}

std::uint8_t DoneRecord::Read(int index, std::int64_t unit) const {
  std::uint8_t bits = 0;
  return record_->ReadAt(OffsetOf(index, unit), &bits, 1) == 1 ? bits : 0;
}

bool DoneRecord::IsDue() const {
  const int most = unitsBetweenFlushes > 0 ? unitsBetweenFlushes.load() : kUsualUnits;
  return noted_.size() >= static_cast<std::size_t>(most) ||
         std::chrono::steady_clock::now() - lastFlush_ >= kLongestWait;
}

/// The medium is waited for without the lock, so that the other workers go on.
bool DoneRecord::Note(int index, std::int64_t unit, std::uint8_t bits) {
  std::vector<Noted> due;
  {
    const std::lock_guard lock(mutex_);
    noted_.push_back({OffsetOf(index, unit), bits});
    if (!IsDue()) return true;
    due.swap(noted_);
    lastFlush_ = std::chrono::steady_clock::now();
  }
  return Write(due);
}

bool DoneRecord::Flush() {
  std::vector<Noted> due;
  {
    const std::lock_guard lock(mutex_);
    due.swap(noted_);
  }
  return Write(due);
}

bool DoneRecord::Write(const std::vector<Noted>& noted) {
  if (noted.empty()) return true;
  if (file_ && !file_->Sync()) return false;
  return std::all_of(noted.begin(), noted.end(),
                     [&](const Noted& each) { return record_->WriteAt(each.offset, &each.bits, 1) == 0; });
}

std::int64_t DoneRecord::CountDone(int index, const UnitRange& units) const {
  std::array<std::uint8_t, 65536> bytes;
  std::int64_t count = 0;
  for (std::int64_t unit = units.first; unit < units.end;) {
    const std::int64_t wanted = std::min<std::int64_t>(units.end - unit, bytes.size());
    if (record_->ReadAt(OffsetOf(index, unit), bytes.data(), wanted) != wanted) return -1;
    for (std::int64_t i = 0; i < wanted; ++i) count += std::popcount(bytes[static_cast<std::size_t>(i)]);
    unit += wanted;
  }
  return count;
}

}  // namespace zrk
