#pragma once

#include "output/TargetFile.h"

#include <cstddef>
#include <string>

/// Where bytes go one after the other: a `TargetFile`, or standard output for "-". A target that is a device or a pipe
/// is written as it is.
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
  bool Commit(std::string& err);

 private:
  bool Fail(std::string& err) const;

  enum class Kind { kNone, kStandardOutput, kSpecial, kTarget };

  Kind kind_ = Kind::kNone;
  std::string name_;
  TargetFile target_;
  int descriptor_ = -1;
};
