#pragma once

#include "XFile.h"
#include "XString.h"

#include <memory>
#include <optional>
#include <vector>

namespace zrk {

/// The data files of a store, laid one behind the other. Once they are open, any number of threads may ask.
///
/// A store has one file "BASE.txd", or files "BASE_0.txd", "BASE_1.txd" and so on. Under the compatible policy the
/// first of the numbered files stands for each of them, as often as it takes to reach the greatest offset.
class TxdFiles {
 public:
  /// Where a tile lies.
  struct Place {
    const XFile* file;
    std::int64_t offset;
  };

  /// Opens what is there, closing what was open. Files that are missing are no failure.
  void Open(const XString& base, std::uint64_t greatestOffset, bool isExact);
  /// The file that has the offset; nothing behind the end of the last one.
  std::optional<Place> Find(std::uint64_t offset) const;
  /// Whether so many bytes from a place on are there.
  bool Holds(const Place& place, std::int64_t numBytes) const;
  int CountFiles() const { return static_cast<int>(parts_.size()); }
  /// The bytes of all files together.
  std::int64_t CountBytes() const;

 private:
  struct Part {
    std::unique_ptr<XFile> file;
    std::uint64_t length;
    std::uint64_t end;  // behind its last byte, in all files
  };

  bool Add(const XString& path);

  std::vector<Part> parts_;
  std::uint64_t numPasses_ = 1;  // how often the one numbered file is there
};

}  // namespace zrk
