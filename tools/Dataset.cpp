#include "Dataset.h"

#include "XFile.h"
#include "XFormatTable.h"
#include "XPath.h"
#include "XRSFileIO.h"

#include <cstdio>

namespace {

int LoadAny(XRSFile& file, int id, const XString& path, bool withStatistics, XString& err, XThread* thread) {
  const tagXFormat* format = XfnFindFormat(id);
  if (format->isRaster) {
    return XRSFileIO::LoadFileRaster(&file, id, path, err, withStatistics ? 1 : 0, kLevelNone, thread);
  }
  if (id == kFormatKML) return XRSFileIO::LoadFileKML(&file, path, err, thread);
  if (id == kFormatNITF) return XRSFileIO::LoadFileNITF(&file, path, nullptr, err, thread);
  return XRSFileIO::LoadFileVector(&file, id, path, nullptr, err, thread);
}

}  // namespace

void PrintFailure(const std::string& path, const std::string& reason) {
  std::fprintf(stderr, "zrkio: %s: %s\n", path.c_str(), reason.c_str());
}

std::string ReasonOr(const XString& err, const char* otherwise) {
  return err.IsEmpty() ? otherwise : err.AsStdString();
}

std::unique_ptr<XRSFile> OpenDataset(const std::string& path, bool withStatistics, XThread* thread, std::string& err) {
  if (!XFile::Exists(path)) {
    err = "no such file";
    return nullptr;
  }
  const int id = XRSFileIO::GetIDFromExt(XfnGetFileExt(path));
  if (id == kFormatNone) {
    err = "the format can't be told from the file's extension";
    return nullptr;
  }
  auto file = std::make_unique<XRSFile>();
  XString reason;
  if (!LoadAny(*file, id, path, withStatistics, reason, thread)) {
    err = thread && thread->GetState() != XThread::kStateRun ? "stopped" : ReasonOr(reason, "can't be read");
    return nullptr;
  }
  return file;
}

std::unique_ptr<XRSFile> OpenRaster(const std::string& path, XThread* thread, std::string& err) {
  std::unique_ptr<XRSFile> file = OpenDataset(path, false, thread, err);
  if (!file || file->GetBandAt(0)) return file;
  err = "the file holds no raster";
  return nullptr;
}
