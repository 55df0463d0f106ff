#pragma once

#include <span>
#include <string>
#include <vector>

namespace zrk {

/// A file in memory that GDAL sees under a name of its own while this lives.
class GdalMemoryFile {
 public:
  /// A name for a file that is yet to be written.
  GdalMemoryFile();
  explicit GdalMemoryFile(std::vector<unsigned char> bytes);
  ~GdalMemoryFile();
  GdalMemoryFile(const GdalMemoryFile&) = delete;
  GdalMemoryFile& operator=(const GdalMemoryFile&) = delete;

  const char* GetName() const { return name_.c_str(); }
  /// The bytes that the file has now. They are valid until the file is changed. Empty where there is no file.
  std::span<const unsigned char> GetBytes() const;

 private:
  std::vector<unsigned char> bytes_;
  std::string name_;
};

}  // namespace zrk
