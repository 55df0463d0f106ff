#pragma once

#include "tagPName.h"
#include "XArray.h"
#include "XExport.h"
#include "XPointCloud2D.h"
#include "XString.h"

#include <atomic>
#include <cstdint>

class XFile;
class XThread;

namespace Vexorine::ZRL::IO {

/// Collects named points and writes them as a PBP file (docs/FORMATS.md). The file has the records in the order in
/// which they were added. Two tables of record numbers follow, sorted by the first and by the second coordinate. A
/// viewer finds points by binary search in them; `XPBPReader` does.
///
/// `AddPName` comes first, as often as needed, then `BuildPointCloud`, then `Export2PBP`. Nothing is thrown. An object
/// belongs to one thread; only `Cancel` may come from another.
///
/// The two read policies (XReadPolicy.h) differ in `Export2PBP`, which uses the default policy of the moment.
class ZRKIO_API XPBPProviderExporter {
 public:
  XPBPProviderExporter();
  ~XPBPProviderExporter();
  XPBPProviderExporter(const XPBPProviderExporter&) = delete;
  XPBPProviderExporter& operator=(const XPBPProviderExporter&) = delete;

  /// Appends a record; 1. A name longer than 64 bytes is not taken, nor is a record for which memory or room in the
  /// format is missing; 0 then, and nothing has changed.
  int AddPName(double first, double second, XString name);

  /// Keeps the version characters for the header and builds both tables, the one by the first coordinate first. In a
  /// table smaller coordinates come first, and of equal ones the record that was added later. NaNs come last, and both
  /// zeros are equal.
  ///
  /// A thread, which may be null, is told the progress of each table from 0 to 100: after record 0, after each
  /// hundredth of the records, and after the last one. If its state word is not 0 at such a report the build ends
  /// there. The table then has the sorted numbers of the records up to the reported one, and zeros behind them up to
  /// the full size. The second table is not begun if the first is not done.
  ///
  /// Where memory runs out both tables are empty, and nothing can be exported.
  void BuildPointCloud(char version0, char version1, XThread* thread);

  /// Writes the file in place of one that is there. False where the last build saw no record, which touches no file,
  /// where the file can't be made, and where a write fails. The thread, which may be null, is told the progress; what
  /// it asks does not stop the writing.
  ///
  /// In the compatible policy the file is written under its name, and what was written stays there after a failure. The
  /// header counts all records, also those that were added since the build; the tables are as the build left them.
  ///
  /// In the exact policy a build that was stopped exports nothing, nor do tables that lack records; false then. The
  /// file takes its name when it is whole, and a failure leaves no file, or the old one.
  bool Export2PBP(XString path, XThread* thread);

  /// Sets the cancel flag. Neither a build nor an export looks at it: the state word of the thread stops a build.
  void Cancel();

  /// The number of records, and one of them by its number.
  int GetCount() const { return records_.GetSize(); }
  const tagPName& GetRecord(int number) const { return records_.GetAt(number); }
  /// The tables as the last build left them; valid until the next one.
  const XArray<int>& GetSortedByFirst() const { return sortedByFirst_; }
  const XArray<int>& GetSortedBySecond() const { return sortedBySecond_; }
  /// Whether the tables hold every record in its place.
  bool IsBuilt() const;

  /// How a record that is added compares with one that is there, by a coordinate: 1 where it belongs behind, -1 where
  /// it belongs in front, 0 where they are equal.
  static int CompareByFirst(const tagPName& added, const tagPName& there);
  static int CompareBySecond(const tagPName& added, const tagPName& there);

 private:
  bool Clear();
  bool BuildTables(XThread* thread);
  bool ExportUnderName(const XString& path, XThread* thread) const;
  bool ExportWhole(const XString& path, XThread* thread) const;
  bool WriteTo(XFile& file, XThread* thread) const;

  XPointCloud2D<tagPName> records_;
  XArray<int> sortedByFirst_;
  XArray<int> sortedBySecond_;
  char version_[2] = {0x31, 0x30};
  std::int64_t builtCount_ = 0;  // of records that the last build saw
  bool isWhole_ = false;         // the last build was not stopped
  std::atomic<unsigned char> cancel_ = 0;
};

}  // namespace Vexorine::ZRL::IO

using Vexorine::ZRL::IO::XPBPProviderExporter;
