#pragma once

#include "XFormatTable.h"

#include <filesystem>
#include <map>
#include <span>
#include <string>
#include <vector>

// Reads the sources of a tree as text and tells where they break the rules of the house: which room may include what,
// how long a file may be, and what belongs to a format. Violations are sentences; no sentence means that all is well.

using Violations = std::vector<std::string>;

struct IncludeLine {
  std::string name;
  bool isAngled = false;
  int line = 0;
};

struct SourceFile {
  std::string path;  ///< from the root of the tree, with '/'
  int numLines = 0;
  std::vector<IncludeLine> includes;
};

class House {
 public:
  /// `bandClasses` are the classes of which each is known to its own room alone.
  House(const std::filesystem::path& root, std::vector<std::string> bandClasses);
  House(const House&) = delete;
  House& operator=(const House&) = delete;

  /// Includes that point up, across to another room of the same floor, or at nothing in the tree.
  Violations FindWrongArrows() const;
  /// Band classes that are known where they should not be.
  Violations FindBandsThatAreSeen() const;
  /// Ids of formats and casts to band classes outside the folders of formats, the table, and the door with its loaders.
  Violations FindNamedFormats() const;
  /// Headers of other projects in public headers and in the ground floor.
  Violations FindForeignHeaders() const;
  Violations FindLongFiles(int maxLines) const;
  /// Public headers that `umbrella` does not include.
  Violations FindHeadersMissingFrom(const std::string& umbrella) const;

  /// The room of a file under src, tools or include, such as "core"; a public header belongs to the room of the source
  /// that is named for it, or else to the highest of those it includes. Empty for other files.
  std::string RoomOf(const std::string& path) const;

  const std::vector<SourceFile>& GetFiles() const { return files_; }

 private:
  std::string RoomOfHeader(const SourceFile& header) const;
  std::string Resolve(const SourceFile& file, const IncludeLine& include) const;
  void CheckArrow(const SourceFile& file, const IncludeLine& include, Violations& violations) const;

  std::filesystem::path root_;
  std::vector<std::string> bandClasses_;
  std::vector<SourceFile> files_;
  std::map<std::string, const SourceFile*> byPath_;
};

/// The floor on which a room lies, 0 at the bottom; -1 for a room that the house does not have.
int FloorOf(const std::string& room);

/// What is missing in the tree of the formats that can be read: a folder with row and band, a folder of tests with
/// samples, fuzz target, seeds, page, and line in the table of the README.
Violations FindGapsOfFormats(const std::filesystem::path& root, std::span<const tagXFormat> formats);
