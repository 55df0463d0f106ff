#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// A file that may take long to make, and that other processes may make a part of. Until it is whole it stands beside
/// its target as TARGET.part, and stays there when the work is stopped. The record of what is done stands beside that.
class ResumableFile {
 public:
  // All answer false with the reason in `err`.

  /// Looks whether the target can be made. One that leads to an input, or to anything but a regular file, is refused.
  bool Begin(const std::string& path, const std::vector<std::string>& inputs, std::string& err);
  /// Looks whether the disk has room for so many bytes, of which those of an unfinished file are taken already.
  bool HasRoom(std::int64_t numBytes, std::string& err) const;

  /// What the target's path leads to.
  const std::string& GetTargetPath() const { return target_; }
  const std::string& GetUnfinishedPath() const { return unfinished_; }
  /// Whether the target has so many bytes, and the record of a shared export speaks of a file that is no longer
  /// unfinished. Only the record itself can tell whether it is of the same export.
  bool MayBeWhole(std::int64_t numBytes) const;

 private:
  std::string path_;    // as it was asked for
  std::string target_;  // what it leads to
  std::string unfinished_;
};
