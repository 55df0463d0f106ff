#pragma once

#include <string>
#include <string_view>
#include <vector>

/// A folder that goes away, with all that is in it, when the test is done.
class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::string& Path() const { return path_; }
  std::string Path(const std::string& name) const { return path_ + "/" + name; }
  void Write(const std::string& name, const std::vector<unsigned char>& bytes) const;
  void Write(const std::string& name, std::string_view text) const;

 private:
  std::string path_;
};

/// A file of this project's tree, by its path from the root.
std::string SourcePath(const std::string& path);

/// The folder of real sample files; it may be absent.
std::string SharedDataDir();

/// All bytes of a file; none where it can't be read.
std::vector<unsigned char> ReadBytes(const std::string& path);
