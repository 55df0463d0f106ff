// The door that callers know. Each operation hands its arguments on: a load or a save to the row of its format, level
// data to the room of level files. Nothing here changes with a new format, unless callers are to load that format by a
// name of its own.
//
// A loader by name goes to the row of its id and never looks at the file's extension or first bytes.

#include "XRSFileIO.h"

#include "base/Fence.h"
#include "core/dispatch/FormatTable.h"
#include "core/load/Outcome.h"
#include "core/xld/ImageStamp.h"
#include "core/xld/LevelData.h"
#include "XDataType.h"
#include "XPath.h"

#include <algorithm>
#include <new>

namespace {

int LoadRasterOf(int id, const zrk::RasterCall& call) {
  return zrk::LoadRasterBy(zrk::FindFormatRow(id), call);
}

int LoadVectorOf(int id, const zrk::VectorCall& call) {
  return zrk::LoadVectorBy(zrk::FindFormatRow(id), call);
}

/// Only ids of formats that have a writer come here.
int SaveAs(int id, const zrk::SaveCall& call) {
  return zrk::FindFormatRow(id)->save(call);
}

}  // namespace

XRSFileIO::~XRSFileIO() = default;

int XRSFileIO::GetIDFromExt(XString ext) {
  const zrk::FormatRow* const row = zrk::FindRowOfExtension(ext);
  return row ? row->format.id : kFormatNone;
}

int XRSFileIO::LoadFileRaster(XRSFile* file, int id, XString path, XString& err, int calcStatistics, int levelMode,
                              XThread* thread) {
  return LoadRasterOf(id, {file, path, err, calcStatistics, levelMode, thread});
}

int XRSFileIO::LoadFileVector(XRSFile* file, int id, XString path, XSpatialReference* sr, XString& err,
                              XThread* thread) {
  const zrk::FormatRow* const row = zrk::FindFormatRow(id);
  // Some formats are loaded by name only.
  return zrk::LoadVectorBy(row && row->isRouted ? row : nullptr, {file, path, err, thread, sr});
}

/// Raw layouts have no loader here, and this tells so.
int XRSFileIO::LoadFileGeneral(XRSFile* file, int, XString, int, int, int, int, int, XString& err, XThread*) {
  err = file ? zrk::kNotSupportedType : zrk::kNotValidFile;
  return 0;
}

/// The three raw layouts answer 1 and load nothing. Callers know them so.
int XRSFileIO::LoadFileBIL(XRSFile*, int, XString, int, int, int, int, int, XString&, XThread*) {
  return 1;
}

int XRSFileIO::LoadFileBIP(XRSFile*, int, XString, int, int, int, int, int, XString&, XThread*) {
  return 1;
}

int XRSFileIO::LoadFileBSQ(XRSFile*, int, XString, int, int, int, int, int, XString&, XThread*) {
  return 1;
}

int XRSFileIO::LoadFileTIF(XRSFile* file, XString path, XString& err, int calcStatistics, int levelMode,
                           XThread* thread) {
  return LoadRasterOf(kFormatTIF, {file, path, err, calcStatistics, levelMode, thread});
}

int XRSFileIO::LoadFileJPG(XRSFile* file, XString path, XString& err, int calcStatistics, int levelMode,
                           XThread* thread) {
  return LoadRasterOf(kFormatJPG, {file, path, err, calcStatistics, levelMode, thread});
}

int XRSFileIO::LoadFileBMP(XRSFile* file, XString path, XString& err, int calcStatistics, int levelMode,
                           XThread* thread) {
  return LoadRasterOf(kFormatBMP, {file, path, err, calcStatistics, levelMode, thread});
}

int XRSFileIO::LoadFileDTED(XRSFile* file, XString path, XString& err, int calcStatistics, int levelMode,
                            XThread* thread) {
  return LoadRasterOf(kFormatDTED, {file, path, err, calcStatistics, levelMode, thread});
}

int XRSFileIO::LoadFileSID(XRSFile* file, XString path, XString& err, int calcStatistics, int levelMode,
                           XThread* thread) {
  return LoadRasterOf(kFormatSID, {file, path, err, calcStatistics, levelMode, thread});
}

int XRSFileIO::LoadFileJP2(XRSFile* file, XString path, XString& err, int calcStatistics, int levelMode,
                           XThread* thread) {
  return LoadRasterOf(kFormatJP2, {file, path, err, calcStatistics, levelMode, thread});
}

int XRSFileIO::LoadFileHAWK(XRSFile* file, XString path, XString& err, int calcStatistics, int levelMode,
                            XThread* thread) {
  return LoadRasterOf(kFormatHAWK, {file, path, err, calcStatistics, levelMode, thread});
}

int XRSFileIO::LoadFileNITFIMG(XRSFile* file, XString path, XString& err, int calcStatistics, int levelMode,
                               XThread* thread) {
  return LoadRasterOf(kFormatNITFIMG, {file, path, err, calcStatistics, levelMode, thread});
}

int XRSFileIO::LoadFileHFA(XRSFile* file, XString path, XString& err, int calcStatistics, int levelMode,
                           XThread* thread) {
  return LoadRasterOf(kFormatHFA, {file, path, err, calcStatistics, levelMode, thread});
}

int XRSFileIO::LoadFileHDF4(XRSFile* file, XString path, XString& err, int calcStatistics, int levelMode,
                            XThread* thread) {
  return LoadRasterOf(kFormatHDF4, {file, path, err, calcStatistics, levelMode, thread});
}

int XRSFileIO::LoadFileECW(XRSFile* file, XString path, XString& err, int calcStatistics, int levelMode,
                           XThread* thread) {
  return LoadRasterOf(kFormatECW, {file, path, err, calcStatistics, levelMode, thread});
}

int XRSFileIO::LoadFileCIB(XRSFile* file, XString path, XString& err, int calcStatistics, XThread* thread) {
  return LoadRasterOf(kFormatCIB, {file, path, err, calcStatistics, kLevelNone, thread});
}

int XRSFileIO::LoadFileCADRG(XRSFile* file, XString path, XString& err, int calcStatistics, XThread* thread) {
  return LoadRasterOf(kFormatCADRG, {file, path, err, calcStatistics, kLevelNone, thread});
}

int XRSFileIO::LoadFileZRM(XRSFile* file, XString path, XString& err, XThread* thread) {
  return LoadRasterOf(kFormatZRM, {file, path, err, 0, kLevelNone, thread});
}

int XRSFileIO::LoadFilePBI(XRSFile* file, XString path, XString& err, XThread* thread) {
  return LoadRasterOf(kFormatPBI, {file, path, err, 0, kLevelNone, thread});
}

int XRSFileIO::LoadFilePBE(XRSFile* file, XString path, XString& err, XThread* thread) {
  return LoadRasterOf(kFormatPBE, {file, path, err, 0, kLevelNone, thread});
}

int XRSFileIO::LoadFileTXID(XRSFile* file, XString path, XString& err, XThread* thread) {
  return LoadRasterOf(kFormatTXID, {file, path, err, 0, kLevelNone, thread});
}

int XRSFileIO::LoadFileXVC(XRSFile* file, XString path, XString& err, XThread* thread) {
  return LoadVectorOf(kFormatXVC, {file, path, err, thread});
}

int XRSFileIO::LoadFileSHP(XRSFile* file, XString path, XString& err, XThread* thread) {
  return LoadVectorOf(kFormatSHP, {file, path, err, thread});
}

int XRSFileIO::LoadFileKML(XRSFile* file, XString path, XString& err, XThread* thread) {
  return LoadVectorOf(kFormatKML, {file, path, err, thread});
}

int XRSFileIO::LoadFileDXF(XRSFile* file, XString path, XSpatialReference* sr, XString& err, XThread* thread) {
  return LoadVectorOf(kFormatDXF, {file, path, err, thread, sr});
}

int XRSFileIO::LoadFileDGN(XRSFile* file, XString path, XSpatialReference* sr, XString& err, XThread* thread) {
  return LoadVectorOf(kFormatDGN, {file, path, err, thread, sr});
}

int XRSFileIO::LoadFileDLG(XRSFile* file, XString path, XSpatialReference* sr, XString& err, XThread* thread) {
  return LoadVectorOf(kFormatDLG, {file, path, err, thread, sr});
}

int XRSFileIO::LoadFileNITF(XRSFile* file, XString path, XSpatialReference* sr, XString& err, XThread* thread) {
  return LoadVectorOf(kFormatNITF, {file, path, err, thread, sr});
}

int XRSFileIO::LoadFileNITFEx(XRSFile* file, XString path, XSpatialReference* sr, XObList& objects, int* numObjects,
                              XString& err, XThread* thread) {
  return LoadVectorOf(kFormatNITF, {file, path, err, thread, sr, &objects, numObjects});
}

int XRSFileIO::SaveFileTiff(XRSFile* file, XString path, int x0, int x1, int y0, int y1, XString& err,
                            XThread* thread) {
  return SaveAs(kFormatTIF, {file, path, x0, x1, y0, y1, err, thread});
}

int XRSFileIO::SaveFileZRM(XRSFile* file, XString path, int level, int x0, int x1, int y0, int y1, XString& err,
                           XThread* thread, int compressionMode, int writerFlag1, int writerFlag2) {
  return SaveAs(kFormatZRM,
                {file, path, x0, x1, y0, y1, err, thread, level, compressionMode, 0.0, writerFlag1, writerFlag2});
}

int XRSFileIO::SaveFileZRMComp(XRSFile* file, XString path, int level, int x0, int x1, int y0, int y1, double quality,
                               XString& err, XThread* thread, int writerFlag1) {
  constexpr int kLercTiles = 3, kSecondFlag = 1;
  return SaveAs(kFormatZRM,
                {file, path, x0, x1, y0, y1, err, thread, level, kLercTiles, quality, writerFlag1, kSecondFlag});
}

int XRSFileIO::GetGeoBounding(XString path, double* const x, double* const y) {
  bool isLonLat = false;
  return GetGeoBounding(path, x, y, isLonLat);
}

int XRSFileIO::GetGeoBounding(XString path, double* const x, double* const y, bool& isLonLat) {
  isLonLat = false;
  if (!x || !y) return 0;
  // A format may list fewer corners than there is room for; the others must be told apart.
  std::fill_n(x, zrk::Corners::kCount, kNotSet);
  std::fill_n(y, zrk::Corners::kCount, kNotSet);
  const zrk::FormatRow* const row = zrk::FindRowOfExtension(XfnGetFileExt(path));
  if (!row || !row->bound) return 0;
  try {
    return row->bound(path, {x, y}, isLonLat);
  } catch (const std::bad_alloc&) {
    return 0;  // and whatever else is thrown is the caller's, as the contract says
  }
}

XString XRSFileIO::GetFileNameXLD(XString path) {
  return zrk::LevelFileNameOf(path);
}

int XRSFileIO::CheckFileXLD(XRSFile* file, XString path, XString& err, XThread*) {
  return file ? zrk::CheckLevelData(*file, path, err) : 0;
}

int XRSFileIO::RemoveFileXLD(XString path, std::int64_t oldLength) {
  XString unused;
  return zrk::Fenced(unused, [&] { return zrk::RemoveLevelFileOf(path, oldLength); });
}

int XRSFileIO::CreateFileXLD(XRSFile* file, XString path, XString& err, int levelMode, XThread* thread) {
  return file ? zrk::CreateLevelData(*file, path, err, levelMode, thread) : 0;
}

int XRSFileIO::LoadFileXLD(XRSFile* file, XString path, XString& err, int levelMode, XThread* thread) {
  return file ? zrk::LoadLevelData(*file, path, err, levelMode, thread) : 0;
}

int XRSFileIO::UpdateFileXLD_SR(XRSFile* file, XSpatialReference* sr, XString& err) {
  return file && sr ? zrk::UpdateLevelSystem(*file, *sr, err) : 0;
}

/// A dataset that is not there has no level data.
bool XfnIsValidZRMLevelData(XRSFile* file) {
  return file && zrk::HasLevelData(*file);
}
