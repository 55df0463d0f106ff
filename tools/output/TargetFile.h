#pragma once

#include <string>

/// A file that takes its name only when it is whole. Until `Commit` it stands beside the target under a name of its
/// own. Without a `Commit` it goes away, also where a second signal ends the program. A target that is a symbolic link
/// remains one: the file that it leads to is replaced.
class TargetFile {
 public:
  /// With an extension, such as ".tif", the name of the unfinished file ends in it, for writers that name a file beside
  /// theirs by it. The name of such a file ends in `companion` instead, and is kept free as well.
  explicit TargetFile(std::string extension = "", std::string companion = "");
  ~TargetFile();
  TargetFile(const TargetFile&) = delete;
  TargetFile& operator=(const TargetFile&) = delete;

  // Both answer false with the reason in `err`.

  /// Creates the unfinished file, empty, and so its companion, which is the caller's from then on. A path that leads to
  /// `input`, the image that the target is made of, or to a file that belongs to it is refused, and so is one that
  /// leads to anything but a regular file.
  bool Begin(const std::string& path, const std::string& input, std::string& err);
  /// Brings the file to the disk and gives it its name.
  bool Commit(std::string& err);

  /// Either way leads to the unfinished file. The descriptor is open for writing and belongs to this object.
  const std::string& GetUnfinishedPath() const { return unfinished_; }
  int GetDescriptor() const { return descriptor_; }

 private:
  bool Fail(std::string& err) const;
  bool IsWritten();
  bool Create();
  bool CreateAs(const std::string& stem);
  void Discard();

  std::string extension_;
  std::string companion_;
  std::string path_;        // as it was asked for
  std::string target_;      // what it leads to
  std::string unfinished_;  // empty where no file is begun
  int descriptor_ = -1;
};

/// Folder and title.
std::string WithoutExtension(const std::string& path);

/// The path itself. For a symbolic link, the path that it leads to in the end, whether a file is there or not.
std::string FollowLinks(const std::string& path);

/// Whether the path leads to a regular file or nowhere. Otherwise the reason is in `errno`.
bool CanBeReplaced(const std::string& path);

/// Whether the path leads to a device, a pipe or the like, which can be written but not replaced.
bool IsSpecialFile(const std::string& path);

/// "can't write out.png (No space left on device)", by `errno`.
std::string CannotWrite(const std::string& name);
