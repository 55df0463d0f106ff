// Whether a level file belongs to its image. A program can set the time of modification back, and two images of one
// size give level files of one size. So the time of the last change counts as well, which no program sets, and where
// any of that differs all bytes of the image do.
//
// Times have a granularity. A file that was changed just now may be changed again under the same time, so a stamp is
// taken only when the next change would be seen. A file is looked at by its name before and after it is read, since it
// may be replaced meanwhile. Levels are stamped when their pixels are written: the disk is busy with these while the
// processor goes over the bytes.

#include "core/xld/ImageStamp.h"

#include "base/Fingerprint.h"
#include "core/native/FieldAccess.h"
#include "core/xld/LevelData.h"
#include "core/xld/LevelFile.h"
#include "XThread.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <thread>

namespace zrk {
namespace {

using std::chrono::nanoseconds;

/// The system's clock for files ticks a hundred times a second at least.
constexpr nanoseconds kFineTick = std::chrono::milliseconds(20);
/// Some file systems keep whole seconds, or every second one.
constexpr nanoseconds kCoarseTick = std::chrono::seconds(2);

bool FindStatus(const XString& path, FileStatus& status) {
  return CurrentDisk().GetStatus(path.AsStdString(), status) == 0;
}

/// How long it takes until a further change would be seen in the times. A clock that runs behind that of the disk waits
/// no longer than another.
nanoseconds CountUnsettled(const FileStatus& status) {
  const nanoseconds tick = status.changed % 1'000'000'000 == 0 ? kCoarseTick : kFineTick;
  const nanoseconds age = std::chrono::system_clock::now().time_since_epoch() - nanoseconds(status.changed);
  return std::clamp(tick - age, nanoseconds(0), tick);
}

/// Sleeps until the times tell of any further change. A file that is being written has the status of no file.
bool FindSettled(const XString& path, FileStatus& status) {
  FileStatus later;
  if (!FindStatus(path, status)) return false;
  const nanoseconds wait = CountUnsettled(status);
  if (wait == nanoseconds(0)) return true;
  std::this_thread::sleep_for(wait);
  if (!FindStatus(path, later)) return false;
  if (later != status) status = {};
  return true;
}

/// Reads all of a file. Whoever changes it meanwhile leaves a stamp that fits nothing.
StampResult MakeStamp(const XString& path, const int* cancel, ImageStamp& stamp) {
  FileStatus before, after;
  std::shared_ptr<DiskFile> file;
  stamp = {};
  const bool isOpen = FindSettled(path, before) && CurrentDisk().Open(path.AsStdString(), {}, file) == 0;
  if (!isOpen) return StampResult::kUnreadable;
  if (before.length < 0) return StampResult::kDone;
  std::uint64_t fingerprint = 0;
  if (!FingerprintFile(*file, before.length, cancel, fingerprint)) {
    return XfnIsStopRequested(cancel) ? StampResult::kStopped : StampResult::kUnreadable;
  }
  if (FindStatus(path, after) && after == before) stamp = {before, fingerprint};
  return StampResult::kDone;
}

XString PathOf(const XRSFile& dataset) {
  const XString path = dataset.GetFilePath();
  return path.IsEmpty() ? dataset.GetName() : path;
}

/// Writes the times of now in the place of the old ones. Only these bytes are written, and only where they are as many,
/// so that whoever reads the text at the same time finds either. A file that can't be written keeps the old ones, which
/// costs the next reader a look at all bytes.
void RenewStamp(const XString& levelFile, std::int64_t textOffset, const XString& text, const ImageStamp& old,
                const ImageStamp& now) {
  const std::string oldElement = FormatImageElement(old), element = FormatImageElement(now);
  const std::size_t place = text.AsStdString().find(oldElement);
  if (place == std::string::npos || element.size() != oldElement.size()) return;
  XFile file;
  if (!file.Open(levelFile, XFile::kReadWrite | XFile::kShareDenyNone)) return;
  file.WriteAt(textOffset + static_cast<std::int64_t>(place), element.data(),
               static_cast<std::int64_t>(element.size()));
}

/// A level file that can't be understood goes as well. What is no level file, or is in the making, stays.
bool RemoveLevelFileBeside(const XString& path, std::int64_t oldLength) {
  const XString name = LevelFileNameOf(path);
  XFile file;
  std::int64_t textOffset = 0;
  if (name == path || !file.Open(name, XFile::kRead | XFile::kShareDenyNone)) return true;
  if (ReadLevelHead(file, textOffset) != LevelHead::kGood) return true;
  const std::optional<ImageStamp> stamp = ReadImageStamp(ReadLevelText(file, textOffset));
  const bool isOfAnother = stamp && stamp->status.length >= 0 && stamp->status.length != oldLength;
  return isOfAnother || XFile::Remove(name);
}

}  // namespace

int NoteOpenedImage(XRSFile& dataset, const XString& path) {
  FileStatus status;
  std::shared_ptr<const FileStatus> found;
  if (FindStatus(path, status)) found = std::make_shared<FileStatus>(status);
  FieldAccess::OpenedStatus(dataset) = std::move(found);
  return 1;
}

std::optional<FileStatus> WatchImage(const XRSFile& dataset) {
  const FileStatus* const opened = FieldAccess::OpenedStatus(dataset).get();
  FileStatus now;
  if (!FindSettled(PathOf(dataset), now)) return opened ? std::optional(FileStatus()) : std::nullopt;
  return opened && *opened != now ? FileStatus() : now;
}

StampResult StampImage(const XRSFile& dataset, const FileStatus& watched, const int* cancel, ImageStamp& stamp) {
  const StampResult result = MakeStamp(PathOf(dataset), cancel, stamp);
  if (stamp.status != watched) stamp = {};
  return result;
}

bool IsOfImage(const XString& levelFile, std::int64_t textOffset, const XString& text, const XString& path) {
  FileStatus image, level;
  if (!FindStatus(path, image)) return false;
  const std::optional<ImageStamp> known = ReadImageStamp(text);
  if (!known) return FindStatus(levelFile, level) && level.modified >= image.modified;
  if (known->status == image) return true;
  // Where the lengths differ the bytes do.
  if (known->status.length != image.length) return false;
  ImageStamp now;
  if (MakeStamp(path, nullptr, now) != StampResult::kDone || now.status.length != image.length) return false;
  if (now.fingerprint != known->fingerprint) return false;
  RenewStamp(levelFile, textOffset, text, *known, now);
  return true;
}

int RemoveLevelFileOf(const XString& path, std::int64_t oldLength) {
  if (oldLength <= 0) return 1;
  std::string target;
  const bool isLink = CurrentDisk().FollowLink(path.AsStdString(), target) == 0 && target != path.AsStdString();
  const bool isRemoved = RemoveLevelFileBeside(path, oldLength);
  return (!isLink || RemoveLevelFileBeside(target, oldLength)) && isRemoved;
}

}  // namespace zrk
