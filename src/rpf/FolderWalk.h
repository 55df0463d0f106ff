#pragma once

#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace zrk {

/// Finds files below a folder by paths that other systems wrote: separators are slashes and backslashes, and letter
/// case tells nothing. The names of a folder are listed once, when they are first needed.
class FolderWalk {
 public:
  /// `folder` ends in a separator, or is empty for the current one.
  explicit FolderWalk(std::string folder) : folder_(std::move(folder)) {}

  /// The path of a file, or where it should be. Empty where it has no name, or leads out of the folder and may not.
  std::string Find(std::string_view path, std::string_view name, bool mayLeave);

 private:
  using Names = std::map<std::string, std::string>;  // by their lower case

  std::string FindName(const std::string& folder, const std::string& name);
  const Names& NamesOf(const std::string& folder);
  bool IsWithinFolder(const std::string& path);

  std::string folder_;
  std::string root_;                    // the folder without links on the way; empty until it is asked for
  std::map<std::string, Names> names_;  // by folder, without links on the way
};

}  // namespace zrk
