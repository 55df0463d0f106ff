#include "core/dispatch/Outcome.h"
#include "XRSFileIO.h"

namespace {

int RefuseToWrite(const char* what, const XRSFile* file, XString& err) {
  if (file) {
    err.Format("%s files can't be written by this build", what);
  } else {
    err = zrk::kNotValidFile;
  }
  return 0;
}

}  // namespace

int XRSFileIO::SaveFileTiff(XRSFile* file, XString, int, int, int, int, XString& err, XThread*) {
  return RefuseToWrite("TIFF", file, err);
}

int XRSFileIO::SaveFileZRM(XRSFile* file, XString, int, int, int, int, int, XString& err, XThread*, int, int, int) {
  return RefuseToWrite("Native raster", file, err);
}

int XRSFileIO::SaveFileZRMComp(XRSFile* file, XString, int, int, int, int, int, double, XString& err, XThread*, int) {
  return RefuseToWrite("Native raster", file, err);
}
