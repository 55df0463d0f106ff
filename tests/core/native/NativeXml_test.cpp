#include "core/native/NativeXml.h"

#include "NativeFields.h"
#include "XLimits.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;

namespace {

/// Lowers limits for a test.
class LowerLimits {
 public:
  explicit LowerLimits(void (*lower)(tagXLimits&)) {
    tagXLimits limits = before_;
    lower(limits);
    XfnSetLimits(limits);
  }
  ~LowerLimits() { XfnSetLimits(before_); }

 private:
  const tagXLimits before_ = XfnGetLimits();
};

std::string Refusal(const std::string& text) {
  pugi::xml_document document;
  XString err;
  return zrk::ParseNativeXml(text, document, err) ? "" : err.AsStdString();
}

std::string Repeat(const std::string& part, int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += part;
  return text;
}

}  // namespace

TEST(NativeXml, RefusesATextThatIsTooLong) {
  const LowerLimits lower([](tagXLimits& limits) { limits.xmlBytes = 10; });
  EXPECT_EQ(Refusal("<a>123</a>"), "");
  EXPECT_EQ(Refusal("<a>1234</a>"), "The raster metadata is refused: the text is too long");
}

TEST(NativeXml, CountsTheElementsBeforeItParses) {
  const LowerLimits lower([](tagXLimits& limits) { limits.xmlElements = 3; });
  EXPECT_EQ(Refusal("<a><b></b><c/></a>"), "");
  EXPECT_EQ(Refusal("<a><b></b><c/><!-- --></a>"), "The raster metadata is refused: it has too many elements");
}

TEST(NativeXml, CountsTheAttributesBeforeItParses) {
  const LowerLimits lower([](tagXLimits& limits) { limits.xmlElements = 1; });
  EXPECT_EQ(Refusal("<a b='1' c = '2'/>"), "");
  EXPECT_EQ(Refusal("<a b='1' c = '2' d=\"\"/>"), "The raster metadata is refused: it has too many elements");
}

TEST(NativeXml, RefusesDocumentTypesAndDeepNesting) {
  EXPECT_EQ(Refusal("<!DOCTYPE a [<!ENTITY b \"c\">]><a>&b;</a>"),
            "The raster metadata is refused: document type declarations are not allowed");
  EXPECT_EQ(Refusal(Repeat("<a>", 64) + Repeat("</a>", 64)), "");
  EXPECT_EQ(Refusal(Repeat("<a>", 65) + Repeat("</a>", 65)),
            "The raster metadata is refused: elements are nested too deeply");
}

TEST(NativeXml, RefusesWhatIsNotADocument) {
  for (const char* text : {"", "abc", "<a>", "<a></b>", "<a", "<?xml version=\"1.0\"?>"}) {
    EXPECT_EQ(Refusal(text), "The raster metadata is not well formed") << text;
  }
}

TEST(NativeXml, ReplacesTheProjectionsOfAllBands) {
  XRSFile dataset;
  FillBand(AddPlainBand(dataset, 7, 5, kPint08), 1);
  AddPlainBand(dataset, 7, 5, kPint08);
  XSpatialReference sr;
  sr.importFromEPSG(4326);
  XString wkt;
  sr.exportToWkt(wkt);
  XString xml = LevelText(dataset);
  ASSERT_TRUE(zrk::ReplaceProjections(xml, wkt));
  EXPECT_THAT(xml.AsStdString(), HasSubstr("encoding=\"ISO-8859-1\""));
  XRSFile loaded;
  AddPlainBand(loaded, 7, 5, kPint08);
  AddPlainBand(loaded, 7, 5, kPint08);
  XString err;
  ASSERT_EQ(loaded.LoadStringZRM(xml, err, nullptr), 1) << err.GetText();
  for (int i = 0; i < 2; ++i) EXPECT_TRUE(loaded.GetBandAt(i)->GetSR()->IsSame(sr));
  EXPECT_EQ(DescribeAcquisition(*loaded.GetBandAt(0)), DescribeAcquisition(*dataset.GetBandAt(0)));
}

TEST(NativeXml, ReplacingAProjectionByTheSameOneChangesNothing) {
  XRSFile dataset;
  FillBand(AddPlainBand(dataset, 7, 5, kPint08), 1);
  XString wkt;
  dataset.GetSR()->exportToWkt(wkt);
  const XString before = LevelText(dataset);
  XString xml = before;
  ASSERT_TRUE(zrk::ReplaceProjections(xml, wkt));
  EXPECT_EQ(xml, before);
}

TEST(NativeXml, LeavesBandsWithoutAProjectionElementAlone) {
  XString xml =
      "<D><XRS_TAG_BAND><B>1</B></XRS_TAG_BAND><XRS_TAG_BAND><XRS_TAG_BAND_PROJECTIONWKT>a<!-- c -->b"
      "</XRS_TAG_BAND_PROJECTIONWKT></XRS_TAG_BAND></D>";
  ASSERT_TRUE(zrk::ReplaceProjections(xml, "50% "));
  pugi::xml_document document;
  XString err;
  ASSERT_TRUE(zrk::ParseNativeXml(xml.AsStdString(), document, err));
  const pugi::xml_node first = document.document_element().first_child();
  EXPECT_FALSE(first.child(zrk::kTagProjection));
  EXPECT_STREQ(first.next_sibling().child_value(zrk::kTagProjection), "50%25%20");
}

TEST(NativeXml, LeavesATextAloneThatCantBeParsed) {
  XString xml = "<D><XRS_TAG_BAND>";
  EXPECT_FALSE(zrk::ReplaceProjections(xml, "a"));
  EXPECT_EQ(xml, "<D><XRS_TAG_BAND>");
}
