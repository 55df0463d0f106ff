#pragma once

#include <cstddef>
#include <string>

/// A file that comes to be under its name only when it is whole. Until `Commit` it stands beside the target under a
/// name of its own, and goes away where that does not come. "-" is standard output, and a target that is a device or a
/// pipe is written as it is.
class OutputFile {
 public:
  OutputFile() = default;
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // Each answers false with the reason in `err`.

  /// A path that leads to `input`, the file that the output is made of, is refused.
  bool Open(const std::string& path, const std::string& input, std::string& err);
  bool Write(const void* data, std::size_t count, std::string& err);
  /// Brings the file to the disk and gives it its name.
  bool Commit(std::string& err);

 private:
  bool Fail(std::string& err) const;
  bool OpenTemporary();
  bool SyncFolder() const;

  std::string path_;
  std::string temporary_;  // empty where the target is written directly
  int descriptor_ = -1;
  bool ownsDescriptor_ = false;
};
