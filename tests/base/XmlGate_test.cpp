#include "base/XmlGate.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr const char kDeclares[] = "document type declarations are not allowed";
constexpr const char kTooDeep[] = "elements are nested too deeply";

std::string DangerOf(std::string_view text, int maxDepth = 3) {
  return zrk::FindXmlDanger(text, maxDepth).AsStdString();
}

TEST(XmlGate, LetsPlainDocumentsPass) {
  EXPECT_EQ("", DangerOf("<?xml version=\"1.0\"?>\n<a><b x='1'/><b>text</b></a>"));
  EXPECT_EQ("", DangerOf(""));
  EXPECT_EQ("", DangerOf("no markup at all"));
}

TEST(XmlGate, RefusesADocumentType) {
  EXPECT_EQ(kDeclares, DangerOf("<!DOCTYPE a [<!ENTITY x \"xxxx\">]><a>&x;</a>"));
  EXPECT_EQ(kDeclares, DangerOf("<?xml version=\"1.0\"?>  <!doctype a><a/>"));
  EXPECT_EQ(kDeclares, DangerOf("<!-- one --><!DOCTYPE a><a/>"));
}

TEST(XmlGate, TakesNoDocumentTypeFromCommentsSectionsAndInstructions) {
  EXPECT_EQ("", DangerOf("<a><!-- <!DOCTYPE a> --></a>"));
  EXPECT_EQ("", DangerOf("<a><![CDATA[<!DOCTYPE html><html>]]></a>"));
  EXPECT_EQ("", DangerOf("<a><?note <!DOCTYPE a> ?></a>"));
}

TEST(XmlGate, SeesADocumentTypeRightAfterOtherMarkup) {
  EXPECT_EQ(kDeclares, DangerOf("<!----><!DOCTYPE a>"));
  EXPECT_EQ(kDeclares, DangerOf("<!--a-- ><b>--><!DOCTYPE a>"));
  EXPECT_EQ(kDeclares, DangerOf("<?a?"
                                "?><!DOCTYPE a>"));
  EXPECT_EQ(kDeclares, DangerOf("<a b=\">\"><!DOCTYPE a>"));
  EXPECT_EQ(kDeclares, DangerOf("<a b='\"'><!DOCTYPE a c='\"'>"));
  EXPECT_EQ(kDeclares, DangerOf("<a><![CDATA[]]]]><!DOCTYPE a>"));
}

TEST(XmlGate, BoundsTheDepthOfElements) {
  EXPECT_EQ("", DangerOf("<a><b><c>x</c></b></a>"));
  EXPECT_EQ(kTooDeep, DangerOf("<a><b><c><d>x</d></c></b></a>"));
  EXPECT_EQ(kTooDeep, DangerOf("<a><b><c><d "));
}

TEST(XmlGate, CountsNeitherEmptyElementsNorNeighboursAsDepth) {
  EXPECT_EQ("", DangerOf("<a><b><c><d/><d x='/'/></c></b><b><c/></b></a>"));
  EXPECT_EQ("", DangerOf("<a><b></b><b></b><b></b><b></b></a>"));
}

TEST(XmlGate, CountsWhatOnlyLooksEmpty) {
  EXPECT_EQ(kTooDeep, DangerOf("<a><b><c><d x='/>'>"));
}

TEST(XmlGate, RefusesZeroBytes) {
  EXPECT_EQ("file is not plain text", DangerOf(std::string_view("<\0a\0>\0", 6)));
}

TEST(XmlGate, EndsAtMarkupThatDoesNotEnd) {
  for (const char* text : {"<", "<!", "<a", "<a b='", "<!--", "<!-- -", "<![CDATA[", "<?", "</", "<a b=\"'"}) {
    const std::string danger = DangerOf(text);
    EXPECT_EQ(std::string(text) == "<!" ? kDeclares : "", danger) << text;
  }
}

}  // namespace
