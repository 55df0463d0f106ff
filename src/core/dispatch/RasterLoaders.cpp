#include "core/dispatch/RasterLoad.h"
#include "XFormatTable.h"
#include "XRSFile.h"
#include "XRSFileIO.h"
#include "ZRMBandBMP.h"
#include "ZRMBandCADRG.h"
#include "ZRMBandCIB.h"
#include "ZRMBandDTED.h"
#include "ZRMBandGTIFF.h"
#include "ZRMBandHDF4.h"
#include "ZRMBandJPG.h"

// The raster loaders by name. Those of formats that this build can't read say so.

namespace {

using zrk::ChannelNames;
using zrk::RefuseToRead;

struct Bitmap {
  using Band = ZRMBandBMP;
  static constexpr ChannelNames kNames = ChannelNames::kPlain;
  static constexpr const char* kWorldFile = ".bmw";
};

struct Jpeg {
  using Band = ZRMBandJPG;
  static constexpr ChannelNames kNames = ChannelNames::kPlain;
  static constexpr const char* kWorldFile = ".jpw";
};

struct Tiff {
  using Band = ZRMBandGTIFF;
  static constexpr ChannelNames kNames = ChannelNames::kWithFileName;
  static constexpr const char* kWorldFile = nullptr;
};

struct Elevation {
  using Band = ZRMBandDTED;
  static constexpr ChannelNames kNames = ChannelNames::kWithFileName;
  static constexpr const char* kWorldFile = nullptr;
};

struct Hdf4 {
  using Band = ZRMBandHDF4;
  static constexpr ChannelNames kNames = ChannelNames::kWithFileName;
  static constexpr const char* kWorldFile = nullptr;
};

}  // namespace

int zrk::RefuseToRead(int id, XRSFile* file, XString& err) {
  if (file) {
    err.Format("%s files can't be read by this build", XfnFindFormat(id)->name);
  } else {
    err = kNotValidFile;
  }
  return 0;
}

int XRSFileIO::LoadFileBMP(XRSFile* file, XString path, XString& err, int calcStatistics, int levelMode,
                           XThread* thread) {
  return zrk::LoadRaster<Bitmap>({file, path, err, calcStatistics, levelMode, thread});
}

int XRSFileIO::LoadFileJPG(XRSFile* file, XString path, XString& err, int calcStatistics, int levelMode,
                           XThread* thread) {
  return zrk::LoadRaster<Jpeg>({file, path, err, calcStatistics, levelMode, thread});
}

int XRSFileIO::LoadFileZRM(XRSFile* file, XString path, XString& err, XThread* thread) {
  if (file) return zrk::Fenced(err, [&] { return file->LoadFileZRM(path, err, thread); });
  err = zrk::kNotValidFile;
  return 0;
}

int XRSFileIO::LoadFileTIF(XRSFile* file, XString path, XString& err, int calcStatistics, int levelMode,
                           XThread* thread) {
  return zrk::LoadRaster<Tiff>({file, path, err, calcStatistics, levelMode, thread});
}

int XRSFileIO::LoadFileDTED(XRSFile* file, XString path, XString& err, int calcStatistics, int levelMode,
                            XThread* thread) {
  return zrk::LoadRaster<Elevation>({file, path, err, calcStatistics, levelMode, thread});
}

int XRSFileIO::LoadFileSID(XRSFile* file, XString, XString& err, int, int, XThread*) {
  return RefuseToRead(kFormatSID, file, err);
}

int XRSFileIO::LoadFileJP2(XRSFile* file, XString, XString& err, int, int, XThread*) {
  return RefuseToRead(kFormatJP2, file, err);
}

int XRSFileIO::LoadFileCIB(XRSFile* file, XString path, XString& err, int calcStatistics, XThread* thread) {
  return zrk::LoadFrame({file, path, err, calcStatistics, kLevelNone, thread}, [](const zrk::RasterCall& call) {
    return zrk::OpenChannels<ZRMBandCIB>(ChannelNames::kWithFileName, call);
  });
}

int XRSFileIO::LoadFileCADRG(XRSFile* file, XString path, XString& err, int calcStatistics, XThread* thread) {
  return zrk::LoadFrame({file, path, err, calcStatistics, kLevelNone, thread}, [](const zrk::RasterCall& call) {
    return zrk::OpenChannels<ZRMBandCADRG>(ChannelNames::kPlain, call);
  });
}

int XRSFileIO::LoadFileHAWK(XRSFile* file, XString, XString& err, int, int, XThread*) {
  return RefuseToRead(kFormatHAWK, file, err);
}

int XRSFileIO::LoadFileNITFIMG(XRSFile* file, XString, XString& err, int, int, XThread*) {
  return RefuseToRead(kFormatNITFIMG, file, err);
}

int XRSFileIO::LoadFileHFA(XRSFile* file, XString, XString& err, int, int, XThread*) {
  return RefuseToRead(kFormatHFA, file, err);
}

int XRSFileIO::LoadFileHDF4(XRSFile* file, XString path, XString& err, int calcStatistics, int levelMode,
                            XThread* thread) {
  return zrk::LoadRaster<Hdf4>({file, path, err, calcStatistics, levelMode, thread});
}

int XRSFileIO::LoadFileECW(XRSFile* file, XString, XString& err, int, int, XThread*) {
  return RefuseToRead(kFormatECW, file, err);
}

int XRSFileIO::LoadFilePBI(XRSFile* file, XString, XString& err, XThread*) {
  return RefuseToRead(kFormatPBI, file, err);
}

int XRSFileIO::LoadFilePBE(XRSFile* file, XString, XString& err, XThread*) {
  return RefuseToRead(kFormatPBE, file, err);
}

int XRSFileIO::LoadFileTXID(XRSFile* file, XString, XString& err, XThread*) {
  return RefuseToRead(kFormatTXID, file, err);
}
