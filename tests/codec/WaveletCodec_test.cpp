// How decoders of other makers are found, and what is told where none is.

#include "codec/WaveletCodec.h"

#include "codec/SharedLibrary.h"
#include "StandInBytes.h"
#include "StandIns.h"
#include "TempFolder.h"
#include "XCodecFolder.h"
#include "XFormatTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

namespace {

constexpr const char* kNoEcw =
    "ECW files need the ERDAS ECW SDK (libNCSEcw.so) or GDAL's ECW plug-in; neither was found.";
constexpr const char* kNoMrSid =
    "MrSID files need the MrSID Decode SDK (libltidsdk.so) or GDAL's MrSID plug-in; neither was found.";

tagXCodecState StateOf(const zrk::WaveletCodec& codec, const std::string& folder) {
  const ScopedCodecFolder scope(folder);
  tagXCodecState state;
  zrk::TellCodec(codec, state);
  EXPECT_TRUE(state.isNeeded);
  return state;
}

std::string ReasonOf(const zrk::WaveletCodec& codec, const std::string& folder) {
  const tagXCodecState state = StateOf(codec, folder);
  EXPECT_FALSE(state.isFound);
  EXPECT_TRUE(state.place.IsEmpty());
  return state.remark.AsStdString();
}

/// The stand-in library as one of another kind of machine: that stands in two bytes of its head.
std::vector<unsigned char> ForeignLibrary() {
  std::vector<unsigned char> bytes = ReadBytes(StandInFolder("whole") + "/libNCSEcw.so");
  constexpr std::size_t kMachine = 18;
  bytes.at(kMachine) = 8;  // MIPS
  bytes.at(kMachine + 1) = 0;
  return bytes;
}

TEST(WaveletCodec, IsTheMakersLibraryInTheNamedFolder) {
  const tagXCodecState ecw = StateOf(zrk::kEcwCodec, StandInFolder("whole"));
  EXPECT_TRUE(ecw.isFound);
  EXPECT_EQ(StandInFolder("whole") + "/libNCSEcw.so", ecw.place.AsStdString());
  EXPECT_EQ("", ecw.remark.AsStdString());
  EXPECT_EQ(StandInFolder("whole") + "/libltidsdk.so",
            StateOf(zrk::kMrSidCodec, StandInFolder("whole")).place.AsStdString());
}

TEST(WaveletCodec, IsToldToBeAbsentInOneSentence) {
  const TempFolder empty;
  for (const std::string& folder : {empty.Path(), empty.Path("none"), std::string()}) {
    EXPECT_EQ(kNoEcw, ReasonOf(zrk::kEcwCodec, folder));
    EXPECT_EQ(kNoMrSid, ReasonOf(zrk::kMrSidCodec, folder));
  }
}

TEST(WaveletCodec, IsNotALibraryThatLacksAFunction) {
  const std::string folder = StandInFolder("lacking");
  EXPECT_EQ(kNoEcw + (" " + folder) + "/libNCSEcw.so is of no use: it lacks NCSSetFileView.",
            ReasonOf(zrk::kEcwCodec, folder));
  EXPECT_EQ(kNoMrSid + (" " + folder) + "/libltidsdk.so is of no use: it lacks ltic_decode.",
            ReasonOf(zrk::kMrSidCodec, folder));
}

TEST(WaveletCodec, IsNotALibraryOfAnotherMachineNorAnyOtherFile) {
  const TempFolder folder;
  const std::string name = folder.Path("libNCSEcw.so");
  folder.Write("libNCSEcw.so", ForeignLibrary());
  EXPECT_EQ(kNoEcw + (" " + name) + " is of no use: it is for another kind of machine.",
            ReasonOf(zrk::kEcwCodec, folder.Path()));
  folder.Write("libNCSEcw.so", "no library");
  EXPECT_EQ(kNoEcw + (" " + name) + " is of no use: it is no shared library.", ReasonOf(zrk::kEcwCodec, folder.Path()));
  std::vector<unsigned char> cut = ReadBytes(StandInFolder("whole") + "/libNCSEcw.so");
  cut.resize(100);
  folder.Write("libNCSEcw.so", cut);
  EXPECT_EQ(0u, ReasonOf(zrk::kEcwCodec, folder.Path())
                    .find(kNoEcw + (" " + name) + " is of no use: the system can't load it ("));
  std::filesystem::remove(name);
  std::filesystem::create_directory(name);
  EXPECT_EQ(kNoEcw + (" " + name) + " is of no use: it can't be opened.", ReasonOf(zrk::kEcwCodec, folder.Path()));
}

TEST(WaveletCodec, MayHaveAVersionBehindItsName) {
  const TempFolder folder;
  std::filesystem::copy_file(StandInFolder("whole") + "/libNCSEcw.so", folder.Path("libNCSEcw.so.5.5"));
  folder.Write("libNCSEcw.so.10", ForeignLibrary());
  folder.Write("libNCSEcw.so.4", ForeignLibrary());
  folder.Write("libNCSEcwC.so", ForeignLibrary());
  EXPECT_EQ(folder.Path("libNCSEcw.so.5.5"), StateOf(zrk::kEcwCodec, folder.Path()).place.AsStdString());
  EXPECT_THAT(zrk::ListLibraries(folder.Path(), "libNCSEcw.so"),
              testing::ElementsAre(folder.Path("libNCSEcw.so.10"), folder.Path("libNCSEcw.so.5.5"),
                                   folder.Path("libNCSEcw.so.4")));
}

TEST(WaveletCodec, IsGdalsDriverWhereThereIsNoLibrary) {
  const ScopedStandInDriver driver("ECW");
  EXPECT_EQ("GDAL's driver ECW", StateOf(zrk::kEcwCodec, "none").place.AsStdString());
  EXPECT_EQ("GDAL's driver ECW", StateOf(zrk::kEcwCodec, StandInFolder("lacking")).place.AsStdString());
  EXPECT_EQ(kNoMrSid, ReasonOf(zrk::kMrSidCodec, "none"));
  EXPECT_EQ(StandInFolder("whole") + "/libNCSEcw.so",
            StateOf(zrk::kEcwCodec, StandInFolder("whole")).place.AsStdString());
}

TEST(WaveletCodec, IsNeverTakenFromTheFolderOfTheImage) {
  const TempFolder folder;
  std::filesystem::copy_file(StandInFolder("whole") + "/libNCSEcw.so", folder.Path("libNCSEcw.so"));
  folder.Write("a.ecw", StandInBytes(""));
  const ScopedCodecFolder scope("");
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder.Path());
  XString reason;
  EXPECT_EQ(nullptr, zrk::OpenWavelet(zrk::kEcwCodec, "a.ecw", true, reason).image);
  EXPECT_EQ(nullptr, zrk::OpenWavelet(zrk::kEcwCodec, folder.Path("a.ecw"), true, reason).image);
  std::filesystem::current_path(before);
  EXPECT_EQ(XString(kNoEcw), reason);
}

TEST(WaveletCodec, IsGivenOnlyFilesThatAreThere) {
  const ScopedCodecFolder scope(StandInFolder("whole"));
  const TempFolder folder;
  for (const std::string& path : {std::string("ecwp://host/a.ecw"), folder.Path("none.ecw"), folder.Path()}) {
    XString reason;
    EXPECT_EQ(nullptr, zrk::OpenWavelet(zrk::kEcwCodec, path, true, reason).image) << path;
    EXPECT_EQ(XString("The file can't be opened"), reason) << path;
  }
}

TEST(WaveletCodec, IsToldToCallersByTheFormat) {
  const ScopedCodecFolder scope(StandInFolder("whole"));
  constexpr int kEcw = 0x72, kMrSid = 0x6A, kBitmap = 0x68;
  EXPECT_TRUE(XfnFindCodec(kEcw).isFound);
  EXPECT_TRUE(XfnFindCodec(kMrSid).isFound);
  EXPECT_FALSE(XfnFindCodec(kBitmap).isNeeded);
  EXPECT_FALSE(XfnFindCodec(-1).isNeeded);
}

TEST(CodecFolder, IsWhatWasSetLast) {
  const ScopedCodecFolder scope("first");
  EXPECT_EQ(XString("first"), XfnGetCodecFolder());
  XfnSetCodecFolder("");
  EXPECT_EQ(XString(""), XfnGetCodecFolder());
}

TEST(SharedLibrary, IsFoundByItsPlainNameWhereTheLoaderLooks) {
  XString reason;
  const auto library = zrk::SharedLibrary::Load("libc.so.6", reason);
  ASSERT_NE(nullptr, library) << reason.GetText();
  EXPECT_NE(nullptr, library->Find("strlen"));
  EXPECT_EQ(nullptr, library->Find("no such function"));
  EXPECT_NE(std::string::npos, library->GetPath().find('/'));
  EXPECT_EQ(nullptr, zrk::SharedLibrary::Load("libNoSuchThing.so", reason));
  EXPECT_FALSE(reason.IsEmpty());
  EXPECT_THAT(zrk::ListLoaderLibraries("libc.so"), testing::Contains(testing::EndsWith("/libc.so.6")));
  EXPECT_THAT(zrk::ListLoaderLibraries("libNoSuchThing.so"), testing::IsEmpty());
}

}  // namespace
