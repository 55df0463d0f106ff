// Names tell little, because links of both kinds give one file two names, and a path can be spelled in many ways. Files
// are compared by device and number. A file that belongs to an image is known by its name alone: whether the image is
// read with its help does not matter here.

#include "output/InputFiles.h"

#include "LevelFile.h"
#include "XPath.h"
#include "XWorldFile.h"

#include <sys/stat.h>
#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace {

using FileNumber = std::pair<dev_t, ino_t>;

std::optional<FileNumber> NumberOf(const std::string& path) {
  struct stat status;
  if (::stat(path.c_str(), &status) != 0) return std::nullopt;
  return FileNumber(status.st_dev, status.st_ino);
}

/// World files go by some letters of the image's extension and a "w": ".tfw" or ".tiw", ".tifw", or ".wld".
std::vector<std::string> WorldFilesBeside(const std::string& path) {
  std::vector<std::string> names;
  for (const XString& name : XWorldFile::ListNamesForTiff(path)) names.push_back(name.AsStdString());
  const std::string extension = XfnGetFileExt(path).AsStdString();
  const std::string stem = path.substr(0, path.size() - extension.size());
  names.push_back(stem + "wld");
  if (extension.size() < 2) return names;
  names.push_back(stem + extension.front() + extension.back() + "w");
  names.push_back(stem + extension.substr(0, 2) + "w");
  names.push_back(path + "w");
  return names;
}

/// Files that hold pixels of an image whose own file has none or not all of them: reduced images, those of images that
/// are too large for one file, and the numbered ones of tile stores.
std::vector<std::string> DataFilesBeside(const std::string& path) {
  const std::string extension = XfnGetFileExt(path).AsStdString();
  const std::string stem = path.substr(0, path.size() - extension.size());
  std::vector<std::string> names;
  for (const char* each : {"rrd", "ige", "rde", "txd"}) names.push_back(stem + each);
  if (extension.empty()) return names;
  const std::string title = stem.substr(0, stem.size() - 1);
  for (int i = 0; i == 0 || NumberOf(names.back()); ++i) names.push_back(title + "_" + std::to_string(i) + ".txd");
  return names;
}

/// Level file, world files, and reduced images and notes that stand in files of their own.
std::vector<std::string> FilesBeside(const std::string& path) {
  std::vector<std::string> names = WorldFilesBeside(path);
  for (const std::string& name : DataFilesBeside(path)) names.push_back(name);
  for (const std::string& name : {LevelFileName(path), path + ".ovr", path + ".aux.xml"}) names.push_back(name);
  return names;
}

bool IsInput(const FileNumber& output, const std::string& input, std::string& err) {
  if (output == NumberOf(input)) {
    err = "the output would take the place of this file";
    return true;
  }
  for (const std::string& name : FilesBeside(input)) {
    if (output != NumberOf(name)) continue;
    err = "the output would take the place of " + XfnGetFileName(name).AsStdString() + ", which belongs to this file";
    return true;
  }
  return false;
}

}  // namespace

bool AreSameFile(const std::string& one, const std::string& other) {
  const std::optional<FileNumber> number = NumberOf(one);
  return number && number == NumberOf(other);
}

std::vector<std::string> ListInputFiles(const std::string& input) {
  std::vector<std::string> paths = {input};
  for (const std::string& name : FilesBeside(input)) {
    if (NumberOf(name) && std::find(paths.begin(), paths.end(), name) == paths.end()) paths.push_back(name);
  }
  return paths;
}

bool WouldReplaceInput(const std::string& path, const std::string& input, std::string& err) {
  const std::optional<FileNumber> output = NumberOf(path);
  return output && IsInput(*output, input, err);
}

bool WouldReplaceInput(int descriptor, const std::string& input, std::string& err) {
  struct stat status;
  return ::fstat(descriptor, &status) == 0 && IsInput({status.st_dev, status.st_ino}, input, err);
}
