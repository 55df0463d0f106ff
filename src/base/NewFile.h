#pragma once

#include "XFile.h"

#include <string>

namespace zrk {

/// A file in the making, which gets its name only when it is whole.
///
/// It is written beside its target, under the target's name with "_tmp" behind it, where nobody else can begin another
/// one meanwhile. What stands under the target's name stays until the new file takes its place. A target that is a
/// symbolic link remains one: the file that it leads to is replaced. What was neither published nor left is removed.
class NewFile {
 public:
  NewFile() = default;
  ~NewFile();
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  /// Creates the unfinished file; false where that can't be, or another one is begun there.
  bool Begin(const XString& path);
  /// The same, but a file of the name that is empty is filled where it lies. Nothing is lost by that, and it may be
  /// held for this very file.
  bool BeginOrFill(const XString& path);

  /// Open for reading and writing until the end.
  XFile& File() { return file_; }
  bool IsBegun() const { return !unfinished_.empty(); }

  /// Makes the system forget what it keeps in memory of the file that will be replaced, which stays what it is. It does
  /// so anyway when the new file takes the name, and that takes longer. For any thread.
  void DropOld() const;
  /// Brings the file to the medium and gives it its name; false where one of that fails, and then the old one stays.
  bool Publish();
  /// Leaves an unfinished file to whoever wants to look at it: under the target's name where that is free, and
  /// otherwise beside the target.
  void Leave();

 private:
  bool Create(const std::string& name);
  void End();

  XFile file_;
  std::string target_;
  std::string unfinished_;  // empty where no file is begun; the target itself where that is filled
};

}  // namespace zrk
