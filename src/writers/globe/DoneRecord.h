#pragma once

#include "writers/globe/TilePlan.h"
#include "XString.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace zrk {

class DiskFile;
class ExportFile;

/// The record of the tiles of an export that are done, in a file beside the export's own. It has a head that tells what
/// the export is made of, and a byte for each unit of tiles, a bit for each tile.
///
/// A bit is set only when the bytes of the tile are on the medium, so that it holds after a crash of the machine too.
/// Bits are collected for a while, since each time the medium has to be waited for. Any number of threads may use a
/// record, and processes may share its file as long as each notes units of its own.
class DoneRecord {
 public:
  /// `key` stands for what the export is made of. `file` is where its tiles go.
  DoneRecord(std::shared_ptr<DiskFile> record, const TilePlan& plan, std::uint64_t key);
  ~DoneRecord();

  /// What the file of the record tells.
  struct Status {
    bool isRecord = false;      ///< otherwise nothing was begun
    bool isOfThis = false;      ///< of this export, otherwise of another one
    bool isWhole = false;       ///< all tiles were done, and the file was about to get its name
    std::int64_t modified = 0;  ///< when that file was written last
  };
  Status GetStatus() const;
  /// Makes it the record of an export without a tile. The head comes last, and until then the file is no record.
  bool Begin();
  /// Makes it no record on the disk, before the file that it speaks of goes. False where the disk fails.
  bool Forget();
  /// Notes on the disk that all tiles are done and the file gets its name now. False where the disk fails.
  bool NoteWhole(std::int64_t modified);
  /// Gives back the room of the bits when the file has its name. What stays tells what it was made of.
  void ForgetTiles();
  /// Goes on with another handle of the same record, when all that was noted is on the medium.
  void UseRecord(std::shared_ptr<DiskFile> record);
  /// Where tiles are written from now on.
  void SetFile(std::shared_ptr<ExportFile> file);

  /// The bits of a unit of a level of the plan; 0 where it can't be read.
  std::uint8_t Read(int index, std::int64_t unit) const;
  /// Notes tiles of a unit that were written. False where bits that were collected can't be brought to the medium.
  bool Note(int index, std::int64_t unit, std::uint8_t bits);
  /// Brings all that was noted to the medium.
  bool Flush();

  /// Tiles that are done in a range of units. Returns -1 where the record can't be read.
  std::int64_t CountDone(int index, const UnitRange& units) const;

 private:
  struct Noted {
    std::int64_t offset;
    std::uint8_t bits;
  };

  std::int64_t OffsetOf(int index, std::int64_t unit) const;
  bool IsDue() const;
  bool Write(const std::vector<Noted>& noted);

  std::shared_ptr<DiskFile> record_;
  std::shared_ptr<ExportFile> file_;
  const TilePlan& plan_;
  std::uint64_t key_;
  mutable std::mutex mutex_;
  std::vector<Noted> noted_;
  std::chrono::steady_clock::time_point lastFlush_ = std::chrono::steady_clock::now();
};

/// How many units are collected before their bits are written, at most; 0 stands for the usual number. For tests, which
/// want bits to be written early.
void SetUnitsBetweenFlushes(int count);

}  // namespace zrk
