// Files known by their content, and the one call that opens whatever a file is.

#include "BmpBuilder.h"
#include "core/dispatch/FormatTable.h"
#include "DtedBuilder.h"
#include "HdfBuilder.h"
#include "JpegBuilder.h"
#include "RpfFrameBuilder.h"
#include "StandIns.h"
#include "TempFolder.h"
#include "TiffBuilder.h"
#include "TocBuilder.h"
#include "XFormatTable.h"
#include "XLevelMode.h"
#include "XRSFile.h"
#include "XSpatialReference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string_view>

namespace {

using Bytes = std::vector<unsigned char>;

Bytes BytesOf(std::string_view text) {
  return {text.begin(), text.end()};
}

Bytes BuildTiff() {
  return TiffBuilder().Size(4, 3).Strips(3).Build();
}

Bytes BuildJpeg() {
  return JpegBuilder().Size(9, 7).Build();
}

/// The name that a frame's header gives to its file, in the place of the builder's.
Bytes WithName(Bytes frame, std::string_view name) {
  constexpr std::string_view kBuilt = "00A1B2C3.ON1";
  const auto found = std::search(frame.begin(), frame.end(), kBuilt.begin(), kBuilt.end());
  if (found != frame.end()) std::ranges::copy(name, found);
  return frame;
}

struct Start {
  const char* what;
  Bytes bytes;
  int id;
};

class FormatOfContent : public testing::TestWithParam<Start> {
 protected:
  int IdOf(const std::string& name) {
    folder_.Write(name, GetParam().bytes);
    const tagXFormat* const format = XfnFindFormatOfFile(folder_.Path(name));
    return format ? format->id : kFormatNone;
  }
  TempFolder folder_;
};

TEST_P(FormatOfContent, IsKnownWithoutAnExtension) {
  EXPECT_EQ(GetParam().id, IdOf("file"));
}

TEST_P(FormatOfContent, IsKnownBehindTheExtensionOfAnotherFormat) {
  EXPECT_EQ(GetParam().id, IdOf(GetParam().id == kFormatTIF ? "file.jpg" : "file.tif"));
}

INSTANTIATE_TEST_SUITE_P(
    AllOfThem, FormatOfContent,
    testing::Values(Start{"Native", BytesOf("ZRM.0001"), 0x65}, Start{"Tiff", BuildTiff(), 0x66},
                    Start{"TiffBigEndian", TiffBuilder().Size(4, 3).Strips(3).BigEndian().Build(), 0x66},
                    Start{"BigTiff", TiffBuilder().Size(4, 3).Strips(3).BigTiff().Build(), 0x66},
                    Start{"Jpeg", BuildJpeg(), 0x67}, Start{"Bitmap", BmpBuilder().Size(4, 3).Build(), 0x68},
                    Start{"Dted", DtedBuilder().Size(3, 3).Build(), 0x69}, Start{"MrSid", BytesOf("msid\1"), 0x6A},
                    Start{"Jp2", BytesOf({"\0\0\0\x0CjP  \r\n\x87\n\0\0\0\x14", 16}), 0x6B},
                    Start{"Codestream", BytesOf("\xFF\x4F\xFF\x51\1"), 0x6B},
                    Start{"ImageBase", WithName(RpfFrameBuilder().Grey().Build(), "0009I013.I42"), 0x6C},
                    Start{"RasterMap", RpfFrameBuilder().Build(), 0x6D}, Start{"Nitf", BytesOf("NITF02.10"), 0x6F},
                    Start{"Nsif", BytesOf("NSIF01.00"), 0x6F}, Start{"Hfa", BytesOf("EHFA_HEADER_TAG"), 0x70},
                    Start{"Hdf4", HdfBuilder().Size(4, 3).Build(), 0x71},
                    Start{"Shapefile", BytesOf({"\0\0\x27\x0A\0\0\0\0", 8}), 0x3EA},
                    Start{"Dgn", BytesOf({"\x08\x09\xFE\x02\0", 5}), 0x3EB},
                    Start{"Dxf", BytesOf("  0\r\nSECTION\r\n  2\r\nHEADER\r\n"), 0x3ED},
                    Start{"Kml", BytesOf("<?xml version=\"1.0\"?>\n<kml xmlns=\"a\"></kml>"), 0x3EF}),
    [](const auto& start) { return std::string(start.param.what); });

class OpenFile : public testing::Test {
 protected:
  const tagXFormat* FormatOf(const char* name, const Bytes& bytes) {
    folder_.Write(name, bytes);
    return XfnFindFormatOfFile(folder_.Path(name));
  }
  int Open(const char* name, const Bytes& bytes) {
    folder_.Write(name, bytes);
    err_ = "from before";
    return XfnOpenFile(&file_, folder_.Path(name), err_);
  }
  TempFolder folder_;
  XRSFile file_;
  XString err_;
};

TEST_F(OpenFile, IsOfItsExtensionWhereNothingContradictsThat) {
  EXPECT_EQ(kFormatTIF, FormatOf("cut.tif", {'I'})->id);
  EXPECT_EQ(kFormatTIF, FormatOf("empty.tif", {})->id);
  EXPECT_EQ(kFormatHFA, FormatOf("raw.img", BytesOf("what no format begins with"))->id);
  EXPECT_EQ(kFormatTIF, XfnFindFormatOfFile(folder_.Path("missing.tif"))->id);
}

TEST_F(OpenFile, IsOfAnExtensionWithoutAMarkUnlessItsBytesAreThoseOfAnotherFormat) {
  static constexpr int kOwnId = 9999;
  static constinit const zrk::FormatRow kWithoutMark = {.format = {.id = kOwnId,
                                                                   .name = "Without a mark",
                                                                   .extensions = "nomark",
                                                                   .isRaster = true,
                                                                   .canRead = false,
                                                                   .bandClass = ""}};
  const zrk::ScopedFormat scope(kWithoutMark);
  EXPECT_EQ(kOwnId, FormatOf("a.nomark", BytesOf("what no format begins with"))->id);
  EXPECT_EQ(kOwnId, FormatOf("b.nomark", {})->id);
  EXPECT_EQ(kFormatTIF, FormatOf("c.nomark", BuildTiff())->id);
}

TEST_F(OpenFile, TakesATiffForOneThatIsNamedAsAFileWhoseMarksNobodyTells) {
  EXPECT_EQ(kFormatTIF, FormatOf("a.ecw", BuildTiff())->id);
  EXPECT_EQ(kFormatECW, FormatOf("b.ecw", {'e', 1, 2, 3})->id);
}

TEST_F(OpenFile, IsOfNoFormatWhereNothingTellsOne) {
  EXPECT_EQ(nullptr, FormatOf("a", {}));
  EXPECT_EQ(nullptr, FormatOf("b.dat", {0x0E, 0x03, 0x13}));
  EXPECT_EQ(nullptr, FormatOf("c.txt", BytesOf("BM is no bitmap yet")));
  EXPECT_EQ(nullptr, XfnFindFormatOfFile(folder_.Path("missing")));
  EXPECT_EQ(nullptr, XfnFindFormatOfFile(folder_.Path()));
}

TEST_F(OpenFile, TakesNoTableOfContentsForAFrame) {
  const Bytes toc = TocBuilder().Boundary().Frame(0, 0, 0, "./ONC/", "A.ON2").Build();
  const tagXFormat* const format = FormatOf("A.TOC", toc);
  EXPECT_TRUE(!format || (format->id != kFormatCADRG && format->id != kFormatCIB));
}

TEST_F(OpenFile, LeavesAFrameToItsExtensionWhateverItsHeaderCallsIt) {
  const Bytes frame = WithName(RpfFrameBuilder().Build(), "NOEXTENSION ");
  EXPECT_EQ(kFormatCADRG, FormatOf("a.gn1", frame)->id);
  EXPECT_EQ(kFormatCIB, FormatOf("a.i42", frame)->id);
  EXPECT_EQ(kFormatNITFIMG, FormatOf("a", frame)->id);
  EXPECT_EQ(kFormatJPG, FormatOf("b.gn1", BuildJpeg())->id);
}

TEST_F(OpenFile, LooksNoFartherThanTheFirstBytesThatAreThere) {
  const Bytes frame = RpfFrameBuilder().Build(), toc = TocBuilder().Boundary().Build();
  for (std::size_t length = 0; length < 900; ++length) {
    for (const Bytes& whole : {frame, toc}) {
      const Bytes head(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(std::min(length, whole.size())));
      const zrk::FormatRow* const row = zrk::FindRowOfContent(head);
      EXPECT_EQ(length >= 4, row != nullptr) << length;
    }
  }
}

TEST_F(OpenFile, OpensAJpegUnderAnyName) {
  for (const char* name : {"a.jpg", "a.jpeg", "a.tif", "a"}) {
    XRSFile file;
    folder_.Write(name, BuildJpeg());
    ASSERT_EQ(1, XfnOpenFile(&file, folder_.Path(name), err_)) << name << ": " << err_.GetText();
    ASSERT_EQ(3, file.GetNumOfBands());
    EXPECT_EQ(kFormatJPG, XfnFindFormatOfBand(file.GetBandAt(2))->id);
  }
}

TEST_F(OpenFile, LeavesNoSentenceBehindSuccess) {
  ASSERT_EQ(1, Open("a.bmp", BmpBuilder().Size(4, 3).Build()));
  EXPECT_EQ(XString(""), err_);
  EXPECT_EQ(folder_.Path("a.bmp"), file_.GetFilePath().AsStdString());
}

TEST_F(OpenFile, TellsWhyAFileCannotBeOpened) {
  EXPECT_EQ(0, XfnOpenFile(nullptr, "a.bmp", err_));
  EXPECT_EQ(XString("Not Valid XRSFile"), err_);
  const ScopedCodecFolder withoutDecoders("");
  EXPECT_EQ(0, Open("a.ecw", BytesOf("none")));
  EXPECT_EQ(XString("ECW files need the ERDAS ECW SDK (libNCSEcw.so) or GDAL's ECW plug-in; neither was found."), err_);
  EXPECT_EQ(0, Open("a.dat", BytesOf("none")));
  EXPECT_EQ(XString("The format can't be told from the file's extension or its first bytes"), err_);
  EXPECT_EQ(0, Open("a.bmp", BytesOf("none")));
  EXPECT_EQ(XString("Can't read bitmap file header."), err_);
  EXPECT_EQ(0, file_.GetNumOfBands());
}

TEST_F(OpenFile, InTheCompatiblePolicyHidesWhyUnderAWordOfTheLoader) {
  EXPECT_EQ(0, Open("d.tif", {}));
  EXPECT_EQ(XString("Can't open file : " + folder_.Path("d.tif")), err_);
  EXPECT_EQ(0, Open("b.hdf", BytesOf({"\x0E\x03\x13\x01", 4})));
  EXPECT_EQ(XString("Can't open file : " + folder_.Path("b.hdf")), err_);
  EXPECT_EQ(0, Open("a.tif", BytesOf("none")));
  EXPECT_EQ(XString("Can't open file : " + folder_.Path("a.tif")), err_);
  std::filesystem::create_directory(folder_.Path("c.tif"));
  EXPECT_EQ(0, XfnOpenFile(&file_, folder_.Path("c.tif"), err_));
  EXPECT_EQ(XString("Can't open file : " + folder_.Path("c.tif")), err_);
}

TEST_F(OpenFile, InTheExactPolicyTellsWhy) {
  file_.SetReadPolicy(kReadExact);
  EXPECT_EQ(0, Open("a.hdf", {}));
  EXPECT_EQ(XString("The file is empty"), err_);
  EXPECT_EQ(0, Open("b.tif", BytesOf({"II*\0\xFF\xFF\xFF\x7F", 8})));
  EXPECT_EQ(XString("The file is damaged, or is a kind of TIFF, GeoTIFF file that can't be read"), err_);
  EXPECT_EQ(0, Open("a.tif", BytesOf("none")));
  EXPECT_EQ(XString("The file is named as a TIFF, GeoTIFF file and does not begin as one"), err_);
  std::filesystem::create_directory(folder_.Path("c.tif"));
  EXPECT_EQ(0, XfnOpenFile(&file_, folder_.Path("c.tif"), err_));
  EXPECT_EQ(XString("This is a folder and not a file"), err_);
  EXPECT_EQ(0, XfnOpenFile(&file_, folder_.Path("none"), err_));
  EXPECT_EQ(XString("No such file"), err_);
}

TEST_F(OpenFile, InTheExactPolicyKeepsSentencesThatTellWhy) {
  file_.SetReadPolicy(kReadExact);
  EXPECT_EQ(0, Open("a.bmp", BytesOf("none")));
  EXPECT_EQ(XString("Can't read bitmap file header."), err_);
}

TEST_F(OpenFile, ComputesStatisticsAndBuildsLevelDataWhereAsked) {
  folder_.Write("a.bmp", BmpBuilder().Size(4, 3).Build());
  ASSERT_EQ(1, XfnOpenFile(&file_, folder_.Path("a.bmp"), err_, nullptr, {.calcStatistics = 1}));
  EXPECT_NE(1.7e+308, file_.GetBandAt(0)->GetBandMean());
  EXPECT_FALSE(std::filesystem::exists(folder_.Path("a.xld")));
  XRSFile again;
  ASSERT_EQ(1, XfnOpenFile(&again, folder_.Path("a.bmp"), err_, nullptr, {.levelMode = kLevelStatistics}));
  EXPECT_TRUE(std::filesystem::exists(folder_.Path("a.xld")));
}

TEST_F(OpenFile, OpensVectorFilesThatTheRouterLeavesOut) {
  const Bytes kml = BytesOf(
      "<?xml version=\"1.0\"?><kml xmlns=\"http://www.opengis.net/kml/2.2\"><Document><Placemark><Point>"
      "<coordinates>1,2</coordinates></Point></Placemark></Document></kml>");
  ASSERT_EQ(1, Open("a", kml)) << err_.GetText();
  EXPECT_EQ(1, file_.GetNumOfVands());
}

}  // namespace
