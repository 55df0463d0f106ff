#include "output/ReplacedRaster.h"

#include "XFile.h"
#include "XRSFileIO.h"

ReplacedRaster::ReplacedRaster(const std::string& path) : path_(path) {
  XFile file;
  if (file.Open(path, XFile::kRead | XFile::kShareDenyNone)) length_ = file.GetLength();
}

/// One that stays does no harm beyond a remark: it tells of which bytes it was made.
void ReplacedRaster::RemoveLevelFile() const {
  XRSFileIO::RemoveFileXLD(path_, length_);
}
