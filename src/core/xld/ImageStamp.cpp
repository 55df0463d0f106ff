// Whether a level file belongs to its image. Images of one size give level files of one size, and a program can set the
// time of modification back. So the stamp also has the time of the last change, which no program can set. If any of
// these differ, the fingerprint of all bytes decides.
//
// Times have a granularity. A file that was changed just now may change again under the same time, so a stamp is taken
// only when the next change would show. The file is looked up by its name before and after it is read, since it may be
// replaced meanwhile. A build stamps the image when the pixels of the levels are written. Bytes of the image that the
// build has not read are read while the disk is busy with these pixels.

#include "core/xld/ImageStamp.h"

#include "base/Disk.h"
#include "core/native/FieldAccess.h"
#include "core/xld/LevelData.h"
#include "core/xld/LevelFile.h"
#include "math/Fingerprint.h"
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

/// Reads what the fingerprint does not have of a file. Whoever has changed that since its status was looked at leaves a
/// stamp that fits nothing.
StampResult FinishStamp(const XString& path, const FileStatus& before, Fingerprint& fingerprint, const int* cancel,
                        ImageStamp& stamp) {
  FileStatus after;
  std::shared_ptr<DiskFile> file;
  stamp = {};
  if (before.length < 0) return StampResult::kDone;
  const bool isRead = CurrentDisk().Open(path.AsStdString(), {}, file) == 0 && fingerprint.ReadRest(*file, cancel);
  if (!isRead && XfnIsStopRequested(cancel)) return StampResult::kStopped;
  const bool isThere = FindStatus(path, after), isSame = isThere && after == before;
  if (!isRead && (isSame || !isThere)) return StampResult::kUnreadable;
  if (isSame) stamp = {before, fingerprint.Get()};
  return StampResult::kDone;
}

/// Reads all of a file.
StampResult MakeStamp(const XString& path, ImageStamp& stamp) {
  FileStatus before;
  if (!FindSettled(path, before)) return StampResult::kUnreadable;
  Fingerprint fingerprint(before.length);
  return FinishStamp(path, before, fingerprint, nullptr, stamp);
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

XString ImagePathOf(const XRSFile& dataset) {
  const XString path = dataset.GetFilePath();
  return path.IsEmpty() ? dataset.GetName() : path;
}

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
  if (!FindSettled(ImagePathOf(dataset), now)) return opened ? std::optional(FileStatus()) : std::nullopt;
  return opened && *opened != now ? FileStatus() : now;
}

StampResult StampImage(const XRSFile& dataset, const FileStatus& watched, Fingerprint& fingerprint, const int* cancel,
                       ImageStamp& stamp) {
  return FinishStamp(ImagePathOf(dataset), watched, fingerprint, cancel, stamp);
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
  if (MakeStamp(path, now) != StampResult::kDone || now.status.length != image.length) return false;
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
