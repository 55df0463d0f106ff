// An image and its world file have to appear together, and no other world file may place the new image. World files of
// an older image are removed. World files that belong to the input stay.
//
// A writer of TIFF files writes a world file of its own if it knows a georeference. This file stands beside the
// unfinished image. It takes its final name after the image has taken its own.

#include "output/TiffTarget.h"

#include "Interrupt.h"
#include "output/InputFiles.h"
#include "Place.h"
#include "XFormatTable.h"
#include "XPath.h"
#include "XWorldFile.h"

#include <fcntl.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

namespace {

/// Whether files of the format are placed by world files of the kind that is written here.
bool HasWorldFile(const tagXFormat* format) {
  return format && format->writer && format->writer->worldFile;
}

/// The names by which a reader looks for the world file of an image.
std::vector<std::string> WorldFilesOf(const std::string& path) {
  const std::vector<XString> names = XWorldFile::ListNamesForTiff(path);
  return {names.begin(), names.end()};
}

/// Whether both are the same file, or would be if they were there.
bool IsSamePath(const std::string& one, const std::string& other) {
  const auto folderOf = [](const std::string& path) { return XfnGetFileFolder(path).AsStdString() + "."; };
  return AreSameFile(one, other) ||
         (XfnGetFileName(one) == XfnGetFileName(other) && AreSameFile(folderOf(one), folderOf(other)));
}

/// Whether the image of this path would be placed by the world file.
bool IsPlacedBy(const std::string& path, const std::string& worldFile) {
  return HasWorldFile(XfnFindFormatOfFile(path)) &&
         std::ranges::any_of(WorldFilesOf(path), [&](const std::string& own) { return IsSamePath(own, worldFile); });
}

/// The name that writers of TIFF files give to a world file. They replace three characters, whatever the extension.
std::string WorldFileByWriters(const std::string& path) {
  return path.substr(0, path.size() - 3) + "tfw";
}

bool Sync(const std::string& path) {
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) return false;
  const bool isSynced = ::fsync(descriptor) == 0;
  ::close(descriptor);
  return isSynced;
}

}  // namespace

TiffTarget::~TiffTarget() {
  DiscardWorldFile();
}

void TiffTarget::DiscardWorldFile() {
  if (!unfinishedWorldFile_.empty()) ::unlink(unfinishedWorldFile_.c_str());
  unfinishedWorldFile_.clear();
}

bool TiffTarget::Begin(const std::string& path, const std::string& input, const ZRMBand& band, std::string& err) {
  // The world file stands beside the image, and so where a link leads to.
  path_ = FollowLinks(path);
  input_ = input;
  worldFile_ = WithoutExtension(path_) + ".tfw";
  // A system may be known where the place is not. A world file tells of places alone.
  hasPlace_ = band.GetCoordinateKind() == kCoordinateWorld;
  if (!image_.Begin(path, input, err)) return false;
  unfinishedWorldFile_ = WorldFileByWriters(image_.GetUnfinishedPath());
  return !hasPlace_ || CanHaveWorldFile(err);
}

/// This is asked before anything is written: once the image has its name it is too late.
bool TiffTarget::CanHaveWorldFile(std::string& err) const {
  if (IsPlacedBy(input_, worldFile_)) {
    err = "the world file of the output would be taken for that of this file";
    return false;
  }
  if (WouldReplaceInput(worldFile_, input_, err)) return false;
  if (CanBeReplaced(worldFile_)) return true;
  err = CannotWrite(worldFile_);
  return false;
}

/// The writer's world file is written anew, by the place of the window that was taken.
bool TiffTarget::TellPlace(const ZRMBand& band, const Window& window, std::string& err) {
  if (!hasPlace_) return true;
  double transform[6];
  band.GetGeoTransform(transform);
  transform[0] += window.x0 * transform[1] + window.y0 * transform[2];
  transform[3] += window.x0 * transform[4] + window.y0 * transform[5];
  const SignalsHeldBack held;  // while the new lines stand beside the old ones
  if (XWorldFile::Write(unfinishedWorldFile_, transform)) return true;
  err = CannotWrite(worldFile_);
  return false;
}

/// A signal may not come between the two names, since the image would lack its place.
bool TiffTarget::Commit(std::string& err) {
  if (hasPlace_ && !Sync(unfinishedWorldFile_)) {
    err = CannotWrite(worldFile_);
    return false;
  }
  const SignalsHeldBack held;
  if (!hasPlace_) DiscardWorldFile();
  if (!image_.Commit(err)) return false;
  if (hasPlace_ && !CommitWorldFile(err)) return false;
  return RemoveOldWorldFiles(err);
}

bool TiffTarget::CommitWorldFile(std::string& err) {
  const bool isCommitted = ::rename(unfinishedWorldFile_.c_str(), worldFile_.c_str()) == 0;
  if (isCommitted) unfinishedWorldFile_.clear();
  if (!isCommitted) err = CannotWrite(worldFile_);
  return isCommitted;
}

/// An old world file would place the new image where the old one lay.
bool TiffTarget::RemoveOldWorldFiles(std::string& err) const {
  bool isDone = true;
  std::string isInput;
  for (const std::string& name : WorldFilesOf(path_)) {
    const bool isNew = hasPlace_ && IsSamePath(name, worldFile_);
    if (isNew || IsPlacedBy(input_, name) || WouldReplaceInput(name, input_, isInput)) continue;
    if (::unlink(name.c_str()) == 0 || errno == ENOENT) continue;
    err = "can't remove " + name + " (" + std::strerror(errno) + ")";
    isDone = false;
  }
  return isDone;
}
