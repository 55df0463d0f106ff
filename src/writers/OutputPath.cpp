#include "writers/OutputPath.h"

#include "base/Disk.h"
#include "XFile.h"
#include "XRSFile.h"

namespace zrk {

bool MakeWay(const XRSFile& dataset, const XString& path) {
  if (CurrentDisk().AreSame(dataset.GetFilePath().AsStdString(), path.AsStdString())) return false;
  XFile present;
  if (present.Open(path, XFile::kReadWrite | XFile::kShareDenyNone) && present.GetLength() > 0) XFile::Remove(path);
  return true;
}

}  // namespace zrk
