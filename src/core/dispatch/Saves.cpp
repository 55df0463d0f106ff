#include "core/dispatch/Outcome.h"
#include "XRSFile2Tiff.h"
#include "XRSFile2ZRM.h"
#include "XRSFileIO.h"
#include "XSystem.h"

namespace {

/// What ties a file to the machine that wrote it, where that is asked for.
XString MakeValidationInfo() {
  constexpr int kByNetworkAddress = 2;
  if (XfnGetCryptoMethod() != kByNetworkAddress) return "";
  XStringList addresses(10);
  return XfnGetMacAddress(addresses) > 0 ? addresses.GetHead() : XString();
}

}  // namespace

int XRSFileIO::SaveFileTiff(XRSFile* file, XString path, int x0, int x1, int y0, int y1, XString& err,
                            XThread* thread) {
  if (!file) {
    err = zrk::kNotValidFile;
    return 0;
  }
  XRSFile2Tiff writer;
  writer.SetXRSFile(file);
  return writer.Save(path, x0, x1, y0, y1, err, thread);
}

int XRSFileIO::SaveFileZRM(XRSFile* file, XString path, int level, int x0, int x1, int y0, int y1, XString& err,
                           XThread* thread, int compressionMode, int writerFlag1, int writerFlag2) {
  if (!file) {
    err = zrk::kNotValidFile;
    return 0;
  }
  XRSFile2ZRM writer;
  writer.SetXRSFile(file);
  writer.SetCryptoVaildationInfo(MakeValidationInfo());
  writer.SetWriterFlags(writerFlag1, writerFlag2);
  return writer.Save(path, level, x0, x1, y0, y1, compressionMode, 0.0, err, thread);
}

int XRSFileIO::SaveFileZRMComp(XRSFile* file, XString path, int level, int x0, int x1, int y0, int y1, double quality,
                               XString& err, XThread* thread, int writerFlag1) {
  if (!file) {
    err = zrk::kNotValidFile;
    return 0;
  }
  constexpr int kCompressed = 3, kSecondFlag = 1;
  XRSFile2ZRM writer;
  writer.SetXRSFile(file);
  writer.SetCryptoVaildationInfo(MakeValidationInfo());
  writer.SetWriterFlags(writerFlag1, kSecondFlag);
  return writer.Save(path, level, x0, x1, y0, y1, kCompressed, quality, err, thread);
}
