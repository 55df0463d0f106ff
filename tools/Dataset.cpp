#include "Dataset.h"

#include "FileFormat.h"
#include "ZRKio.h"

namespace {

int LoadAny(XRSFile& file, int id, const XString& path, XString& err, XThread& thread) {
  const tagXFormat* format = XfnFindFormat(id);
  if (format->isRaster) return XRSFileIO::LoadFileRaster(&file, id, path, err, 0, kLevelNone, &thread);
  if (id == kFormatKML) return XRSFileIO::LoadFileKML(&file, path, err, &thread);
  if (id == kFormatNITF) return XRSFileIO::LoadFileNITF(&file, path, nullptr, err, &thread);
  return XRSFileIO::LoadFileVector(&file, id, path, nullptr, err, &thread);
}

}  // namespace

std::unique_ptr<XRSFile> OpenDataset(const std::string& path, XThread& thread, std::string& err) {
  if (!XFile::Exists(path)) {
    err = "no such file";
    return nullptr;
  }
  const int id = FindFormatId(path);
  if (id == kFormatNone) {
    err =
        "the format can't be told from the file's extension or its first bytes; zrkio formats lists those that are "
        "known";
    return nullptr;
  }
  auto file = std::make_unique<XRSFile>();
  XString reason;
  if (LoadAny(*file, id, path, reason, thread)) return file;
  err = reason.AsStdString();
  return nullptr;
}

std::unique_ptr<XRSFile> OpenRaster(const std::string& path, XThread& thread, std::string& err) {
  std::unique_ptr<XRSFile> file = OpenDataset(path, thread, err);
  if (!file || file->GetBandAt(0)) return file;
  err = "the file holds no raster";
  return nullptr;
}

ZRMBand* FindBand(const XRSFile& file, int number, std::string& err) {
  ZRMBand* band = file.GetBandAt(number - 1);
  if (!band) {
    err = "there is no band " + std::to_string(number) + ", only 1 to " + std::to_string(file.GetNumOfBands());
  }
  return band;
}

// A colour JPEG is decoded once and kept; a grey one is decoded again by every read.

bool DecodeAhead(ZRMBand& band, int lastPercent, XThread& thread, std::string& err) {
  auto* jpeg = dynamic_cast<ZRMBandJPG*>(&band);
  if (!jpeg || jpeg->GetDecodeRows() > 1) return true;
  thread.SetPercentRange(0, lastPercent);
  if (!jpeg->ExtractDataFromFile(&thread)) {
    err = "the pixels can't be read";
    return false;
  }
  thread.SetPercentRange(lastPercent, 100);
  return true;
}
