// The seam to level data. A load asks here once its bands are in the dataset, and goes on without it on a 0.

#include "XFile.h"
#include "XPath.h"
#include "XRSFileIO.h"

XString XRSFileIO::GetFileNameXLD(XString path) {
  XString extension = XfnGetFileExt(path);
  extension.MakeUpper();
  if (extension == "XLD") return path;
  return XfnGetFileFolder(path) + XfnGetFileTitle(path) + ".xld";
}

int XRSFileIO::LoadFileXLD(XRSFile* file, XString path, XString& err, int levelMode, XThread*) {
  if (!file) return 0;
  // The operator is not asked whether to build what could not be used.
  const bool wouldBeUsed = levelMode != kLevelNone || XFile::Exists(GetFileNameXLD(path));
  err = wouldBeUsed ? "Level data can't be used by this build" : "There is not a corresponding XLD file";
  return 0;
}
