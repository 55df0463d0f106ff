#pragma once

#include "tagPName.h"
#include "tagXPlace.h"
#include "writers/names/PbpLayout.h"
#include "XString.h"

#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>

namespace zrk {

class DiskFile;

/// A PBP file can't be used as it is. The text is the sentence for the caller.
class PbpFault : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The coordinates of a record, in their order.
struct PbpPoint {
  double first = 0.0;
  double second = 0.0;
  double Get(PbpAxis axis) const { return axis == PbpAxis::kFirst ? first : second; }
};

/// An open PBP file. Every read is positional, so that any number of threads may share it, and lies within the length
/// that the file had when it was opened. Whatever fails raises `PbpFault`.
class PbpFile {
 public:
  /// A file that begins as a PBP file does, and whose count is not negative.
  static std::shared_ptr<const PbpFile> Open(const XString& path);
  PbpFile(std::shared_ptr<DiskFile> file, const PbpHead& head) : file_(std::move(file)), head_(head) {}

  int GetCount() const { return head_.count; }
  const PbpHead& GetHead() const { return head_; }
  /// The sentence about a length that is not that of the number of records; empty where it is.
  XString FindWrongLength() const;

  /// Records in a row. The numbers have to be those of records.
  void ReadRecords(std::int64_t first, std::span<tagPName> records) const;
  PbpPoint ReadPoint(std::int64_t number) const;
  tagXPlace ReadPlace(int number) const;
  /// Entries of a table in a row, as they stand: they may be anything.
  void ReadTable(PbpAxis axis, std::int64_t firstRank, std::span<std::int32_t> numbers) const;
  /// The record number at a rank, which is that of a record.
  int ReadNumber(PbpAxis axis, std::int64_t rank) const;
  double ReadCoordinate(PbpAxis axis, std::int64_t rank) const { return ReadPoint(ReadNumber(axis, rank)).Get(axis); }
  /// Raises `PbpFault` for what is not the number of a record.
  void RequireNumber(std::int32_t number) const;

 private:
  void Read(std::int64_t offset, void* buffer, std::int64_t count) const;

  std::shared_ptr<DiskFile> file_;
  PbpHead head_;
};

}  // namespace zrk
