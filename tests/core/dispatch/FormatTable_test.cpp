// The table of formats and the search by extension. The ids expected are listed extension by extension; the other tests
// ask of all rows what every row has to keep.

#include "XFormatTable.h"

#include "core/dispatch/FormatTable.h"
#include "XRSFileIO.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <sstream>
#include <string>

namespace {

int IdOf(const char* ext) {
  return XRSFileIO::GetIDFromExt(ext);
}

struct Known {
  const char* ext;
  int id;
};

class GetIDFromExtWords : public testing::TestWithParam<Known> {};

TEST_P(GetIDFromExtWords, GiveTheirFormatInUpperCase) {
  EXPECT_EQ(GetParam().id, IdOf(GetParam().ext));
}

TEST_P(GetIDFromExtWords, GiveTheirFormatInLowerCase) {
  XString lower = GetParam().ext;
  lower.MakeLower();
  EXPECT_EQ(GetParam().id, XRSFileIO::GetIDFromExt(lower));
}

TEST_P(GetIDFromExtWords, AreComparedWhole) {
  EXPECT_NE(GetParam().id, XRSFileIO::GetIDFromExt(XString(GetParam().ext) + "Z"));
  EXPECT_NE(GetParam().id, XRSFileIO::GetIDFromExt(XString("Z") + GetParam().ext));
}

INSTANTIATE_TEST_SUITE_P(AllOfThem, GetIDFromExtWords,
                         testing::Values(Known{"DXF", 0x3ED}, Known{"DGN", 0x3EB}, Known{"DLG", 0x3EC},
                                         Known{"SHP", 0x3EA}, Known{"XVC", 0x3E9}, Known{"NTF", 0x3EE},
                                         Known{"KML", 0x3EF}, Known{"ZRM", 0x65}, Known{"BMP", 0x68},
                                         Known{"JPG", 0x67}, Known{"TIF", 0x66}, Known{"TIFF", 0x66},
                                         Known{"SID", 0x6A}, Known{"JP2", 0x6B}, Known{"IMG", 0x70}, Known{"ECW", 0x72},
                                         Known{"DT0", 0x69}, Known{"DT1", 0x69}, Known{"DT2", 0x69}, Known{"PBI", 0x73},
                                         Known{"PEI", 0x73}, Known{"PBE", 0x74}, Known{"TXI", 0x75}),
                         [](const auto& known) { return std::string(known.param.ext); });

TEST(GetIDFromExt, TakesMixedCase) {
  EXPECT_EQ(kFormatTIF, IdOf("Tif"));
}

TEST(GetIDFromExt, GivesNoneForWhatItDoesNotKnow) {
  for (const char* ext : {"", " ", "JPEG", "HDF", "TIF TIFF", "TIF ", "XLD"}) EXPECT_EQ(kFormatNone, IdOf(ext)) << ext;
}

TEST(GetIDFromExt, TakesMapProductsByTheirZoneInThirdPlace) {
  for (const char* ext : {"GN1", "GN8", "GNA", "GNH", "JN3", "ON1", "TP5", "JA2", "TC1", "TL8", "gn1", "tlc"}) {
    EXPECT_EQ(kFormatCADRG, IdOf(ext)) << ext;
  }
}

TEST(GetIDFromExt, RefusesMapProductsOfOtherZones) {
  for (const char* ext : {"GN9", "GN0", "GNI", "GNZ"}) EXPECT_EQ(kFormatNone, IdOf(ext)) << ext;
}

TEST(GetIDFromExt, TakesTheZoneFromTheThirdPlaceWhereverTheProductStands) {
  EXPECT_EQ(kFormatNone, IdOf("XGN"));
  EXPECT_EQ(kFormatNone, IdOf("XGN3"));
  EXPECT_EQ(kFormatCADRG, IdOf("XXAGN"));
  EXPECT_EQ(kFormatCADRG, IdOf("GN1TAIL"));
}

TEST(GetIDFromExt, RefusesMapProductsThatEndBeforeTheirZone) {
  EXPECT_EQ(kFormatNone, IdOf("GN"));
}

TEST(GetIDFromExt, TakesControlledImageBasesByTheirResolution) {
  for (const char* ext : {"I1", "I5", "I5A", "IV", "I42", "i3", "iv9"}) EXPECT_EQ(kFormatCIB, IdOf(ext)) << ext;
}

TEST(GetIDFromExt, RefusesOtherExtensionsInI) {
  for (const char* ext : {"I", "I0", "I6", "IX", "1I"}) EXPECT_EQ(kFormatNone, IdOf(ext)) << ext;
}

TEST(GetIDFromExt, DoesNotTryImageBasesOnceAMapProductIsFound) {
  EXPECT_EQ(kFormatNone, IdOf("ION"));
  EXPECT_EQ(kFormatNone, IdOf("I1ON"));
}

std::vector<std::string> WordsOf(const zrk::FormatRow& row) {
  std::istringstream stream(row.extensionRule ? "" : row.format.extensions);
  return {std::istream_iterator<std::string>(stream), {}};
}

TEST(FormatTable, HasEveryIdOnce) {
  std::vector<int> ids;
  for (const tagXFormat& format : XfnGetFormats()) ids.push_back(format.id);
  std::vector<int> wanted;
  for (int id = 0x65; id <= 0x75; ++id) wanted.push_back(id);
  for (int id = 0x3E9; id <= 0x3EF; ++id) wanted.push_back(id);
  EXPECT_EQ(wanted, ids);
}

TEST(FormatTable, HasNoExtensionTwice) {
  std::set<std::string> seen;
  for (const zrk::FormatRow* row : zrk::GetFormatRows()) {
    for (const std::string& word : WordsOf(*row)) EXPECT_TRUE(seen.insert(word).second) << word;
  }
}

TEST(FormatTable, LeadsFromEveryExtensionToItsRow) {
  for (const zrk::FormatRow* row : zrk::GetFormatRows()) {
    for (const std::string& word : WordsOf(*row)) EXPECT_EQ(row->format.id, XRSFileIO::GetIDFromExt(word)) << word;
  }
}

TEST(FormatTable, NamesABandClassExactlyForRastersThatCanBeRead) {
  for (const tagXFormat& format : XfnGetFormats()) {
    EXPECT_EQ(format.isRaster && format.canRead, format.bandClass[0] != '\0') << format.name;
  }
}

TEST(FormatTable, HasALoaderOfItsKindForEveryFormatThatCanBeRead) {
  for (const zrk::FormatRow* row : zrk::GetFormatRows()) {
    const tagXFormat& format = row->format;
    EXPECT_FALSE(format.isRaster ? row->loadVector != nullptr : row->loadRaster != nullptr) << format.name;
    EXPECT_TRUE(!format.canRead || row->loadRaster || row->loadVector) << format.name;
  }
}

TEST(FormatTable, HasAWriterExactlyWhereItCanSave) {
  std::set<std::string> nouns;
  for (const zrk::FormatRow* row : zrk::GetFormatRows()) {
    EXPECT_EQ(row->save != nullptr, row->format.writer != nullptr) << row->format.name;
    if (row->format.writer) nouns.insert(row->format.writer->noun);
  }
  EXPECT_EQ((std::set<std::string>{"JPEG 2000 file", "native raster", "TIFF file"}), nouns);
}

TEST(FormatTable, TellsWholeDecodingAndItsWorkTogether) {
  for (const zrk::FormatRow* row : zrk::GetFormatRows()) {
    EXPECT_EQ(row->isDecodedWhole != nullptr, row->decodeWhole != nullptr) << row->format.name;
  }
}

/// Nobody but its makers knows how a file begins whose code only they know. Files of a set are known by each other.
TEST(FormatTable, KnowsEveryRasterThatTheLibraryDecodesByItsFirstBytesOrItsSet) {
  for (const tagXFormat& format : XfnGetFormats()) {
    const bool isKnown = format.isKnownByContent || zrk::FindFormatRow(format.id)->isOfSet;
    const bool isDecodedHere = format.isRaster && format.canRead && !XfnFindCodec(format.id).isNeeded;
    EXPECT_TRUE(isKnown || !isDecodedHere) << format.name;
  }
}

TEST(FormatTable, IsFoundById) {
  const tagXFormat* const format = XfnFindFormat(kFormatBMP);
  ASSERT_NE(nullptr, format);
  EXPECT_STREQ("Windows bitmap", format->name);
  EXPECT_STREQ("bmp", format->extensions);
  EXPECT_STREQ("ZRMBandBMP", format->bandClass);
  EXPECT_TRUE(format->isRaster && format->canRead);
}

TEST(FormatTable, HasNoRowForOtherIds) {
  for (const int id : {-1, 0, 0x64, 0x76, 0x3E8, 0x3F0}) EXPECT_EQ(nullptr, XfnFindFormat(id)) << id;
}

}  // namespace
