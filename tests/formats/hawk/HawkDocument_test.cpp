#include "bands/hawk/HawkDocument.h"

#include "HawkBuilder.h"
#include "XLimits.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>

namespace {

using zrk::HawkDocument;
using zrk::HawkParse;

struct Parsed {
  HawkParse answer;
  HawkDocument document;
  std::string reason;
};

Parsed ParseDocument(const std::string& text, bool isExact = false) {
  Parsed parsed{};
  XString reason;
  parsed.answer = zrk::ParseHawkDocument(text, isExact, parsed.document, reason);
  parsed.reason = reason;
  return parsed;
}

/// The record of a document that is parsed without a complaint.
HawkDocument DocumentOf(const HawkBuilder& builder, bool isExact = false) {
  const Parsed parsed = ParseDocument(builder.Build(), isExact);
  EXPECT_EQ(HawkParse::kDone, parsed.answer) << parsed.reason;
  return parsed.document;
}

/// What is wrong with the sensor of a document; empty where nothing is.
std::string FaultOf(const HawkBuilder& builder, bool isExact = false) {
  const Parsed parsed = ParseDocument(builder.Build(), isExact);
  if (parsed.answer != HawkParse::kDone) return parsed.reason;
  return zrk::FindHawkFault(parsed.document, isExact);
}

TEST(HawkDocumentText, FillsEveryField) {
  const HawkDocument document =
      DocumentOf(HawkBuilder().Size(70, 50).Pose([](int part, int i) { return part * 10.0 + i; }));
  EXPECT_DOUBLE_EQ(6378137.0, document.originInEcf[0]);
  EXPECT_EQ((zrk::Matrix3{0.0, 1.0, 0.0, 0.0, 0.0, 1.0, 1.0, 0.0, 0.0}), document.rotationEcfToLsr);
  for (std::size_t part = 0; part < 6; ++part) {
    ASSERT_EQ(5U, document.grids[part].size());
    for (std::size_t i = 0; i < 5; ++i)
      EXPECT_EQ(10.0 * static_cast<double>(part) + static_cast<double>(i), document.grids[part][i]);
  }
  EXPECT_EQ(5, document.gridCount);
  EXPECT_EQ(70, document.imageLines);
  EXPECT_EQ(50, document.imageSamples);
  EXPECT_EQ("UpperRight", document.originCorner);
  EXPECT_FALSE(document.isIR);
  EXPECT_EQ(100.0, document.focalLengthInMm);
  EXPECT_EQ(0.01, document.detectorCellSizeInMm);
}

TEST(HawkDocumentText, HasElementsInAnyCase) {
  const HawkDocument document = DocumentOf(HawkBuilder()
                                               .Replace("<Pose>", "<pose>")
                                               .Replace("</Pose>", "</pose>")
                                               .Replace("<SIF>", "<sif>")
                                               .Replace("</SIF>", "</sif>"));
  EXPECT_EQ(5, document.gridCount);
}

TEST(HawkDocumentText, HasAttributesInSmallLettersOnly) {
  const HawkDocument document = DocumentOf(HawkBuilder().Over(0.0, 0.0).Replace("Point3D x=", "Point3D X="));
  EXPECT_EQ(0.0, document.originInEcf[0]);
  EXPECT_EQ(0, DocumentOf(HawkBuilder().Replace("lines=", "Lines=")).imageLines);
}

TEST(HawkDocumentText, IsInfraredExactlyForIR) {
  EXPECT_TRUE(DocumentOf(HawkBuilder().Spectrum("IR")).isIR);
  for (const char* const other : {"VIS", "ir", " IR", "IRX", ""}) {
    EXPECT_FALSE(DocumentOf(HawkBuilder().Spectrum(other)).isIR) << other;
  }
}

TEST(HawkDocumentText, PassesOverFooterAndEllipsoidWhateverTheySay) {
  const HawkDocument plain = DocumentOf(HawkBuilder());
  const HawkDocument other = DocumentOf(
      HawkBuilder().Replace(
          "</SIF>",
          "<InfoData><FlightAzimuthInRad>north</FlightAzimuthInRad><Footer><TotalVisLinesCount>-9"
          "</TotalVisLinesCount><LRPLatitude/></Footer></InfoData><Geodetic><CustomEllipsoid a='1'/></Geodetic>"
          "<Other><Pose/></Other></SIF>"),
      true);
  EXPECT_EQ(plain.grids, other.grids);
  EXPECT_EQ(plain.imageLines, other.imageLines);
}

TEST(HawkDocumentText, HasGridsOfOneColumnWhateverColsSays) {
  EXPECT_EQ(DocumentOf(HawkBuilder()).grids, DocumentOf(HawkBuilder().Replace("cols=\"1\"", "cols=\"3\"")).grids);
}

TEST(HawkDocumentText, TakesTheFirstThreeNumbersOfARotationRow) {
  const HawkBuilder builder = HawkBuilder().Replace("<Row>-0 1\t0</Row>", "<Row>\n5 6 7 8 9</Row>");
  EXPECT_EQ(5.0, DocumentOf(builder).rotationEcfToLsr[0]);
  EXPECT_EQ(7.0, DocumentOf(builder).rotationEcfToLsr[2]);
  EXPECT_EQ(-0.0, DocumentOf(builder).rotationEcfToLsr[3]);
}

TEST(HawkDocumentText, LeavesNumbersThatARotationRowLacks) {
  const HawkDocument document = DocumentOf(HawkBuilder().Replace("<Row>-0 1\t0</Row>", "<Row>5</Row>"));
  EXPECT_EQ(5.0, document.rotationEcfToLsr[0]);
  EXPECT_EQ(0.0, document.rotationEcfToLsr[1]);
}

TEST(HawkDocumentText, TakesTheLastOfTwoElements) {
  EXPECT_EQ(9, DocumentOf(HawkBuilder().Replace("</Image>", "<Size lines=\"9\"/></Image>")).imageLines);
  EXPECT_EQ(30, DocumentOf(HawkBuilder().Replace("</Image>", "<Size lines=\"9\"/></Image>")).imageSamples);
}

TEST(HawkDocumentText, TakesTheFirstChildForAnElementsText) {
  EXPECT_EQ("note", DocumentOf(HawkBuilder().Corner("<!--note-->Lower")).originCorner);
  EXPECT_EQ("a&b", DocumentOf(HawkBuilder().Corner("<![CDATA[a&b]]>")).originCorner);
}

TEST(HawkDocumentText, LeavesFieldsThatItLacks) {
  HawkDocument document;
  document.imageLines = 77;
  document.originCorner = "Lower";
  XString reason;
  EXPECT_EQ(HawkParse::kDone, zrk::ParseHawkDocument("<SIF/>", false, document, reason));
  EXPECT_EQ(77, document.imageLines);
  EXPECT_EQ("Lower", document.originCorner);
}

TEST(HawkDocumentText, WithZeroRowsChangesNoList) {
  const std::string kappa =
      "<Kappa><Parameter><Original><Value><Grid><Matrix rows=\"0\"/></Grid></Value></Original></Parameter></Kappa>";
  EXPECT_EQ(5, DocumentOf(HawkBuilder().Replace("</AttitudeInRad>", kappa + "</AttitudeInRad>")).gridCount);
}

TEST(HawkDocumentText, HasAnglesAmongPositionsToo) {
  const HawkBuilder builder = HawkBuilder()
                                  .Replace("</PositionInMeters><AttitudeInRad>", "")
                                  .Replace("</AttitudeInRad>", "</PositionInMeters>");
  EXPECT_EQ(5, DocumentOf(builder).gridCount);
}

TEST(HawkDocumentText, WithoutAnyElementIsEmpty) {
  for (const char* const text : {"", " \n", "<?xml version=\"1.0\"?>", "<!-- nothing -->"}) {
    EXPECT_EQ(HawkParse::kNoElement, ParseDocument(text).answer) << text;
  }
}

TEST(HawkDocumentText, WithAnotherRootIsRefused) {
  const Parsed parsed = ParseDocument("<SIFF><Image/></SIFF>");
  EXPECT_EQ(HawkParse::kRefused, parsed.answer);
  EXPECT_EQ("The document is of another kind: its root is not SIF", parsed.reason);
}

TEST(HawkDocumentText, ThatIsNotWellFormedIsRefused) {
  EXPECT_EQ("The document is not well formed", ParseDocument("<SIF><Image></SIF>").reason);
}

TEST(HawkDocumentText, ThatCouldUnfoldOrNestsTooDeeplyIsRefused) {
  const std::string bomb = "<!DOCTYPE SIF [<!ENTITY a \"aaaa\"><!ENTITY b \"&a;&a;&a;\">]><SIF>&b;</SIF>";
  EXPECT_EQ("The document is refused: document type declarations are not allowed", ParseDocument(bomb).reason);
  std::string deep;
  for (int i = 0; i < 100000; ++i) deep += "<SIF>";
  EXPECT_EQ("The document is refused: elements are nested too deeply", ParseDocument(deep).reason);
  EXPECT_EQ("The document is refused: file is not plain text", ParseDocument(std::string("<SIF>\0</SIF>", 12)).reason);
}

TEST(HawkDocumentText, BeyondTheLimitsIsRefused) {
  const tagXLimits before = XfnGetLimits();
  tagXLimits limits = before;
  limits.xmlElements = 20;
  XfnSetLimits(limits);
  const std::string reason = ParseDocument(HawkBuilder().Build()).reason;
  XfnSetLimits(before);
  EXPECT_EQ("The document is refused: it has too many elements", reason);
}

TEST(HawkDocumentFault, IsNoneOfASoundDocument) {
  EXPECT_EQ("", FaultOf(HawkBuilder()));
  EXPECT_EQ("", FaultOf(HawkBuilder().Poses(3), true));
}

TEST(HawkDocumentFault, IsFewerThanThreePoses) {
  EXPECT_EQ("The document has fewer than three samples of the pose", FaultOf(HawkBuilder().Poses(2)));
  EXPECT_EQ("The document has fewer than three samples of the pose", FaultOf(HawkBuilder().Poses(0)));
}

TEST(HawkDocumentFault, IsListsOfDifferentLength) {
  const HawkBuilder builder = HawkBuilder().Replace("rows=\"5\" cols=\"1\">\n<Row>0</Row>", "rows=\"4\" cols=\"1\">\n");
  EXPECT_EQ("The lists of the pose differ in length", FaultOf(builder));
}

TEST(HawkDocumentFault, IsFewerRowsThanTold) {
  for (const char* const rows : {"6", "2147483647", "2147483648", "99999999999999999999"}) {
    const HawkBuilder builder = HawkBuilder().Replace("rows=\"5\"", std::string("rows=\"") + rows + "\"");
    EXPECT_EQ("The document lacks rows of X", FaultOf(builder)) << rows;
  }
}

TEST(HawkDocumentFault, IsNoSizeOfTheImage) {
  EXPECT_EQ("The document tells no lines or no samples", FaultOf(HawkBuilder().Size(0, 30)));
  EXPECT_EQ("The document tells no lines or no samples", FaultOf(HawkBuilder().Size(40, -1)));
}

TEST(HawkDocumentFault, IsARotationWithoutAnInverse) {
  EXPECT_EQ("The rotation can't be inverted", FaultOf(HawkBuilder().Replace("<Row>-0 1\t0</Row>", "<Row>0 0 0</Row>")));
}

TEST(HawkDocumentFault, IsANumberThatIsNotFinite) {
  for (const char* const number : {"nan", "inf", "-infinity", "1e999"}) {
    EXPECT_EQ("The document has a number of X that is not finite",
              FaultOf(HawkBuilder().Replace("<Row>0</Row>", std::string("<Row>") + number + "</Row>")))
        << number;
  }
}

TEST(HawkCompatible, TakesTextsThatAreNoNumbersForZero) {
  EXPECT_EQ(0.0, DocumentOf(HawkBuilder().Replace("<Row>1000</Row>", "<Row>high</Row>")).grids[2][0]);
  EXPECT_EQ(1.5, DocumentOf(HawkBuilder().Replace("<Row>1000</Row>", "<Row>1.5 m</Row>")).grids[2][0]);
}

TEST(HawkExact, RefusesTextsThatAreNoNumbers) {
  EXPECT_EQ("The document has no number where Z should have one",
            FaultOf(HawkBuilder().Replace("<Row>1000</Row>", "<Row>high</Row>"), true));
  EXPECT_EQ("The document has no number where Z should have one",
            FaultOf(HawkBuilder().Replace("<Row>1000</Row>", "<Row/>"), true));
}

TEST(HawkCompatible, PassesOverRowsBeyondTheCount) {
  EXPECT_EQ(5U, DocumentOf(HawkBuilder().Replace("<Row>0</Row>", "<Row>0</Row><Row>0</Row>")).grids[0].size());
}

TEST(HawkExact, RefusesRowsBeyondTheCount) {
  EXPECT_EQ("The document has more rows of X than it tells",
            FaultOf(HawkBuilder().Replace("<Row>0</Row>", "<Row>0</Row><Row>0</Row>"), true));
}

TEST(HawkCompatible, TakesADocumentWithoutAFocalLength) {
  EXPECT_EQ("", FaultOf(HawkBuilder().Focal(0.0)));
}

TEST(HawkExact, RefusesADocumentWithoutAFocalLength) {
  const char* const sentence = "The document tells no focal length or no size of a detector cell";
  EXPECT_EQ(sentence, FaultOf(HawkBuilder().Focal(0.0), true));
  EXPECT_EQ(sentence, FaultOf(HawkBuilder().Cell(-0.01), true));
}

TEST(HawkDocumentText, HasPointsInItsNumbersWhateverTheLocale) {
  if (!std::setlocale(LC_ALL, "de_DE.UTF-8")) GTEST_SKIP() << "no locale with a comma";
  const HawkDocument document = DocumentOf(HawkBuilder().Focal(123.75));
  std::setlocale(LC_ALL, "C");
  EXPECT_EQ(123.75, document.focalLengthInMm);
  EXPECT_EQ(0.01, document.detectorCellSizeInMm);
}

}  // namespace
