#include "XDataType.h"
#include "XFormatTable.h"
#include "XRSFile.h"
#include "XRSFileIO.h"
#include "XSpatialReference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

namespace {

constexpr const char* kNoFile = "Not Valid XRSFile";

/// The sentence of a call that must answer 0.
std::string Refusal(const std::function<int(XString&)>& call) {
  XString err = "nothing said";
  EXPECT_EQ(0, call(err));
  return err.AsStdString();
}

std::string RasterRefusal(XRSFile* file, int id) {
  return Refusal([&](XString& err) { return XRSFileIO::LoadFileRaster(file, id, "x", err, 0, 0, nullptr); });
}

std::string VectorRefusal(XRSFile* file, int id) {
  return Refusal([&](XString& err) { return XRSFileIO::LoadFileVector(file, id, "x", nullptr, err, nullptr); });
}

TEST(LoadFileRaster, RefusesANullDatasetBeforeItLooksAtTheId) {
  EXPECT_EQ(kNoFile, RasterRefusal(nullptr, kFormatBMP));
  EXPECT_EQ(kNoFile, RasterRefusal(nullptr, -1));
}

TEST(LoadFileRaster, RefusesIdsThatAreNoRaster) {
  XRSFile file;
  for (const int id : {-1, 0, 0x64, 0x76, 0x3E9, 0x3EF}) EXPECT_EQ("Not Supported Type", RasterRefusal(&file, id));
}

TEST(LoadFileRaster, LeavesNativeRastersToTheDataset) {
  XRSFile file;
  XString wanted;
  EXPECT_EQ(0, file.LoadFileZRM("missing.zrm", wanted, nullptr));
  EXPECT_FALSE(wanted.IsEmpty());
  EXPECT_EQ(wanted.AsStdString(), Refusal([&](XString& err) {
              return XRSFileIO::LoadFileRaster(&file, kFormatZRM, "missing.zrm", err, 0, 0, nullptr);
            }));
}

TEST(RasterLoaders, RefuseANullDataset) {
  using IO = XRSFileIO;
  for (const auto load :
       {&IO::LoadFileTIF, &IO::LoadFileJPG, &IO::LoadFileBMP, &IO::LoadFileDTED, &IO::LoadFileSID, &IO::LoadFileJP2,
        &IO::LoadFileHAWK, &IO::LoadFileNITFIMG, &IO::LoadFileHFA, &IO::LoadFileHDF4, &IO::LoadFileECW}) {
    EXPECT_EQ(kNoFile, Refusal([&](XString& err) { return load(nullptr, "x", err, 0, 0, nullptr); }));
  }
  for (const auto load : {&IO::LoadFileCIB, &IO::LoadFileCADRG}) {
    EXPECT_EQ(kNoFile, Refusal([&](XString& err) { return load(nullptr, "x", err, 0, nullptr); }));
  }
  for (const auto load : {&IO::LoadFileZRM, &IO::LoadFilePBI, &IO::LoadFilePBE, &IO::LoadFileTXID}) {
    EXPECT_EQ(kNoFile, Refusal([&](XString& err) { return load(nullptr, "x", err, nullptr); }));
  }
}

TEST(LoadFileVector, RefusesANullDatasetBeforeItLooksAtTheId) {
  EXPECT_EQ(kNoFile, VectorRefusal(nullptr, kFormatSHP));
  EXPECT_EQ(kNoFile, VectorRefusal(nullptr, -1));
}

TEST(LoadFileVector, RefusesIdsThatAreNoVector) {
  XRSFile file;
  for (const int id : {-1, 0x65, 0x68, 0x3E8, 0x3F0}) EXPECT_EQ("Not Supported Type", VectorRefusal(&file, id)) << id;
}

TEST(LoadFileVector, DoesNotRouteNitfAndKml) {
  XRSFile file;
  EXPECT_EQ("Not Supported Type", VectorRefusal(&file, 0x3EE));
  EXPECT_EQ("Not Supported Type", VectorRefusal(&file, 0x3EF));
}

TEST(LoadFileGeneral, RefusesEverything) {
  XRSFile file;
  EXPECT_EQ("Not Supported Type", Refusal([&](XString& err) {
              return XRSFileIO::LoadFileGeneral(&file, kFormatBMP, "x", 1, 2, 3, 4, 5, err, nullptr);
            }));
  EXPECT_EQ(kNoFile, Refusal([&](XString& err) {
              return XRSFileIO::LoadFileGeneral(nullptr, kFormatBMP, "x", 1, 2, 3, 4, 5, err, nullptr);
            }));
}

TEST(LoadFileBIL, AndItsTwoKinAddNothingAndSucceed) {
  XRSFile file;
  XString err = "as it was";
  for (const auto load : {&XRSFileIO::LoadFileBIL, &XRSFileIO::LoadFileBIP, &XRSFileIO::LoadFileBSQ}) {
    EXPECT_EQ(1, load(&file, kFormatBMP, "x", 1, 2, 3, 4, 5, err, nullptr));
    EXPECT_EQ(1, load(nullptr, kFormatBMP, "x", 1, 2, 3, 4, 5, err, nullptr));
  }
  EXPECT_EQ(0, file.GetNumOfBands());
  EXPECT_EQ(XString("as it was"), err);
}

TEST(SaveFile, AnswersNoDatasetAndNoPathWithoutASentence) {
  using IO = XRSFileIO;
  XRSFile file;
  const auto save = [](XRSFile* dataset, const char* path) {
    return std::vector<std::string>{
        Refusal([&](XString& e) { return IO::SaveFileTiff(dataset, path, 0, 1, 0, 1, e, nullptr); }),
        Refusal([&](XString& e) { return IO::SaveFileZRM(dataset, path, 0, 0, 1, 0, 1, e, nullptr, 0, 0, 0); }),
        Refusal([&](XString& e) { return IO::SaveFileZRMComp(dataset, path, 0, 0, 1, 0, 1, 0.0, e, nullptr, 0); })};
  };
  const std::vector<std::string> nothing(3, "nothing said");
  EXPECT_EQ(nothing, save(nullptr, "x"));
  EXPECT_EQ(nothing, save(&file, ""));
}

TEST(SaveFile, NeedsABand) {
  using IO = XRSFileIO;
  XRSFile file;
  EXPECT_EQ("No Band found", Refusal([&](XString& e) { return IO::SaveFileTiff(&file, "x", 0, 1, 0, 1, e, nullptr); }));
}

TEST(GetGeoBounding, AnswersZeroAndLeavesAllEightCornersUnset) {
  for (const char* path : {"a.bmp", "a.tif", "a.zrm", "a", ""}) {
    double x[4] = {1, 2, 3, 4};
    double y[4] = {5, 6, 7, 8};
    EXPECT_EQ(0, XRSFileIO::GetGeoBounding(path, x, y)) << path;
    for (const double value : x) EXPECT_EQ(1.7e+308, value);
    for (const double value : y) EXPECT_EQ(1.7e+308, value);
  }
}

TEST(GetGeoBounding, RefusesNullArrays) {
  double values[4] = {};
  EXPECT_EQ(0, XRSFileIO::GetGeoBounding("a.bmp", nullptr, values));
  EXPECT_EQ(0, XRSFileIO::GetGeoBounding("a.bmp", values, nullptr));
}

}  // namespace
