#include "writers/OutputPath.h"

#include "base/Disk.h"
#include "XFile.h"
#include "XRSFile.h"

namespace zrk {

bool MayReplace(const XRSFile& dataset, const XString& path) {
  if (CurrentDisk().AreSame(dataset.GetFilePath().AsStdString(), path.AsStdString())) return false;
  return !XFile::Exists(path) || XFile().Open(path, XFile::kReadWrite | XFile::kShareDenyNone);
}

}  // namespace zrk
