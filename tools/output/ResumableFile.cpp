#include "output/ResumableFile.h"

#include "output/InputFiles.h"
#include "output/TargetFile.h"
#include "WorkReport.h"

#include <algorithm>
#include <filesystem>

namespace {

constexpr const char* kRecordSuffix = ".done";

std::string FolderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

std::int64_t LengthOf(const std::string& path) {
  std::error_code failure;
  const std::uintmax_t length = std::filesystem::file_size(path, failure);
  return failure ? -1 : static_cast<std::int64_t>(length);
}

}  // namespace

bool ResumableFile::Begin(const std::string& path, const std::vector<std::string>& inputs, std::string& err) {
  path_ = path;
  target_ = FollowLinks(path);
  unfinished_ = target_ + ".part";
  for (const std::string& input : inputs) {
    for (const std::string& written : {target_, unfinished_, unfinished_ + kRecordSuffix}) {
      if (WouldReplaceInput(written, input, err)) return false;
    }
  }
  if (CanBeReplaced(path) && CanBeReplaced(unfinished_)) return true;
  err = CannotWrite(path);
  return false;
}

bool ResumableFile::MayBeWhole(std::int64_t numBytes) const {
  return LengthOf(target_) == numBytes && LengthOf(unfinished_) < 0 && LengthOf(unfinished_ + kRecordSuffix) >= 0;
}

bool ResumableFile::HasRoom(std::int64_t numBytes, std::string& err) const {
  std::error_code failure;
  const std::filesystem::space_info space = std::filesystem::space(FolderOf(target_), failure);
  if (failure) return true;
  const auto available = static_cast<std::int64_t>(space.available);
  if (numBytes - std::max<std::int64_t>(LengthOf(unfinished_), 0) <= available) return true;
  err = "the file needs " + FormatBytes(numBytes) + ", and the disk has room for " + FormatBytes(available);
  return false;
}
