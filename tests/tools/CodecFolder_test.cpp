// ECW and MrSID files in the program: the decoders that are found, and what is said where none is.

#include "AnyJson.h"
#include "Program.h"
#include "StandInBytes.h"
#include "StandIns.h"

#include <gmock/gmock.h>

#include <cstdlib>

using testing::HasSubstr;

namespace {

constexpr const char* kEcwAbsent =
    "ECW files need the ERDAS ECW SDK (libNCSEcw.so) or GDAL's ECW plug-in; neither was found.";

class ZrkioCodecs : public Zrkio {
 protected:
  /// The program with something in its environment.
  static ProgramResult RunWith(const char* name, const std::string& value, std::vector<std::string> arguments) {
    ProgramOptions options;
    options.inChild = [&] { ::setenv(name, value.c_str(), 1); };
    return Run(std::move(arguments), options);
  }
  const std::string whole_ = StandInFolder("whole");
  const std::string ecw_ = Write("a.ecw", EcwStandInBytes("width=41 height=31 bands=3 projection=NUTM52 datum=WGS84"));
};

TEST_F(ZrkioCodecs, AreMissedInOneSentence) {
  const ProgramResult result = Run({"info", ecw_});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_EQ("zrkio: " + ecw_ + ": " + kEcwAbsent + "\n", result.err);
}

TEST_F(ZrkioCodecs, AreFoundInTheFolderThatIsNamed) {
  for (const ProgramResult& result :
       {Run({"--codec-folder", whole_, "info", ecw_}), RunWith("ZRK_CODEC_FOLDER", whole_, {"info", ecw_})}) {
    EXPECT_EQ(0, result.exitStatus) << result.err;
    EXPECT_THAT(result.out, HasSubstr("decoder     " + whole_ + "/libNCSEcw.so"));
    EXPECT_THAT(result.out, HasSubstr("UTM zone 52N"));
  }
  EXPECT_EQ(1, RunWith("ZRK_CODEC_FOLDER", whole_, {"--codec-folder", folder_.Path(), "info", ecw_}).exitStatus);
}

TEST_F(ZrkioCodecs, ReadPixels) {
  const ProgramResult result = Run({"--codec-folder", whole_, "read", ecw_, "--band", "2", "--window", "3,5,7,8"});
  EXPECT_EQ(0, result.exitStatus) << result.err;
  for (const int x : {3, 4, 5}) EXPECT_THAT(result.out, HasSubstr(std::to_string(StandInSample(1, x, 7))));
  const std::string sid = Write("a.sid", StandInBytes("type=4"));
  EXPECT_EQ(0, Run({"--codec-folder", whole_, "convert", sid, folder_.Path("a.tif")}).exitStatus);
}

TEST_F(ZrkioCodecs, AreListedWithTheirPlaces) {
  EXPECT_THAT(Run({"formats"}).out, HasSubstr(std::string("ECW    absent: ") + kEcwAbsent));
  EXPECT_THAT(Run({"--codec-folder", whole_, "formats"}).out,
              HasSubstr("MrSID  found: " + whole_ + "/libltidsdk.so\n"));
  const AnyJson all = AnyJson::parse(Run({"--codec-folder", whole_, "formats", "--json"}).out);
  int numDecoders = 0;
  for (const AnyJson& format : all) {
    if (!format.contains("decoder")) continue;
    ++numDecoders;
    EXPECT_EQ(true, format["decoder"]["found"]);
    EXPECT_EQ(0u, format["decoder"]["place"].get<std::string>().find(whole_));
  }
  EXPECT_EQ(2, numDecoders);
}

TEST_F(ZrkioCodecs, MayBePlugInsOfGdal) {
  const ProgramResult result = RunWith("GDAL_DRIVER_PATH", StandInFolder("gdal"), {"info", ecw_});
  EXPECT_EQ(0, result.exitStatus) << result.err;
  EXPECT_THAT(result.out, HasSubstr("decoder     GDAL's driver ECW"));
  const ProgramResult formats = RunWith("GDAL_DRIVER_PATH", StandInFolder("gdal"), {"formats"});
  EXPECT_THAT(formats.out, HasSubstr("MrSID  found: GDAL's driver MrSID"));
}

TEST_F(ZrkioCodecs, AreFoundByTheLoaderWithAVersionToo) {
  std::filesystem::copy_file(whole_ + "/libNCSEcw.so", folder_.Path("libNCSEcw.so.5.5"));
  const ProgramResult result = RunWith("LD_LIBRARY_PATH", folder_.Path(), {"info", ecw_});
  EXPECT_EQ(0, result.exitStatus) << result.err;
  EXPECT_THAT(result.out, HasSubstr("decoder     " + folder_.Path("libNCSEcw.so.5.5")));
}

TEST_F(ZrkioCodecs, AreNotTakenFromTheFolderOfTheImage) {
  std::filesystem::copy_file(whole_ + "/libNCSEcw.so", folder_.Path("libNCSEcw.so"));
  EXPECT_EQ(1, Run({"info", ecw_}).exitStatus);
}

TEST_F(ZrkioCodecs, WantAFolder) {
  EXPECT_EQ(2, Run({"--codec-folder"}).exitStatus);
  const ProgramResult mistyped = Run({"--codec-folder", whole_, "infos"});
  EXPECT_EQ(2, mistyped.exitStatus);
  EXPECT_THAT(mistyped.err, HasSubstr("there is no subcommand infos; did you mean info?"));
  EXPECT_THAT(Run({"--help"}).out, HasSubstr("--codec-folder FOLDER"));
}

}  // namespace
