#include "writers/OutputPath.h"

#include "base/Disk.h"
#include "core/xld/ImageStamp.h"
#include "XFile.h"
#include "XRSFile.h"

namespace zrk {

/// The file of the dataset is looked for by identity and not by name, because links give one file several names.
/// Opening the target to write finds what forbids it before anything is begun; the opening itself changes nothing.
bool MayReplace(const XRSFile& dataset, const XString& path) {
  if (CurrentDisk().AreSame(dataset.GetFilePath().AsStdString(), path.AsStdString())) return false;
  return !XFile::Exists(path) || XFile().Open(path, XFile::kReadWrite | XFile::kShareDenyNone);
}

ReplacedImage::ReplacedImage(const XString& path) : path_(path) {
  FileStatus status;
  if (CurrentDisk().GetStatus(path.AsStdString(), status) == 0) length_ = status.length;
}

void ReplacedImage::RemoveLevelFile() const {
  RemoveLevelFileOf(path_, length_);
}

}  // namespace zrk
