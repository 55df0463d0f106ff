// The gate before drawings, which counts what their blocks unfold to. The drawings are written pair by pair here, so
// the numbers of entities are known by multiplication.

#include "geo/DxfGate.h"

#include "TempFolder.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string Pair(int code, const std::string& value) {
  return std::to_string(code) + "\n" + value + "\n";
}

std::string Block(const std::string& name, const std::string& contents) {
  return Pair(0, "BLOCK") + Pair(2, name) + contents + Pair(0, "ENDBLK");
}

std::string Insert(const std::string& name, int numColumns = 1, int numRows = 1) {
  return Pair(0, "INSERT") + Pair(2, name) + Pair(70, std::to_string(numColumns)) + Pair(71, std::to_string(numRows));
}

const std::string kPoint = Pair(0, "POINT") + Pair(10, "1.0") + Pair(20, "2.0");
const std::string kRefusal = "blocks unfold beyond all measure";

std::string DangerOf(const std::string& text, int maxDepth = 64) {
  TempFolder folder;
  folder.Write("a.dxf", text);
  XFile file;
  EXPECT_EQ(1, file.Open(folder.Path("a.dxf"), XFile::kRead));
  return zrk::FindDxfDanger(file, maxDepth).AsStdString();
}

TEST(DxfGate, LetsDrawingsPass) {
  EXPECT_EQ("", DangerOf(Block("A", kPoint) + Insert("A") + Insert("A", 10, 20) + kPoint));
  EXPECT_EQ("", DangerOf(""));
  EXPECT_EQ("", DangerOf("0"));
  EXPECT_EQ("", DangerOf("neither\ncodes\nnor\nvalues"));
}

TEST(DxfGate, BoundsTheEntitiesOfRepeatedInsertions) {
  EXPECT_EQ("", DangerOf(Block("A", kPoint) + Insert("A", 2500, 4000)));
  EXPECT_EQ(kRefusal, DangerOf(Block("A", kPoint) + Insert("A", 2501, 4000)));
  EXPECT_EQ(kRefusal, DangerOf(Block("A", kPoint) + Insert("A", 2147483647, 2147483647)));
}

TEST(DxfGate, AddsInsertionsUp) {
  EXPECT_EQ(kRefusal, DangerOf(Block("A", kPoint) + Insert("A", 2500, 4000) + Insert("A")));
  EXPECT_EQ(kRefusal, DangerOf(Block("A", kPoint + kPoint) + Insert("A", 2500, 4000)));
}

TEST(DxfGate, MultipliesNestedInsertions) {
  const std::string blocks = Block("A", kPoint) + Block("B", Insert("A", 100, 100)) + Block("C", Insert("B", 100, 1));
  EXPECT_EQ("", DangerOf(blocks + Insert("C")));
  EXPECT_EQ(kRefusal, DangerOf(blocks + Insert("C", 10, 1)));
}

TEST(DxfGate, CountsDimensionsAsInsertions) {
  std::string text = Block("A", kPoint);
  const std::string dimension = Pair(0, "DIMENSION") + Pair(2, "A");
  text += Block("B", dimension + dimension);
  EXPECT_EQ("", DangerOf(text + Insert("B", 1000, 1000)));
  EXPECT_EQ(kRefusal, DangerOf(text + Insert("B", 1000, 10000)));
}

TEST(DxfGate, RefusesBlocksThatHoldEachOther) {
  EXPECT_EQ(kRefusal, DangerOf(Block("A", Insert("A")) + Insert("A")));
  EXPECT_EQ(kRefusal, DangerOf(Block("A", Insert("B")) + Block("B", Insert("A")) + Insert("B")));
}

TEST(DxfGate, BoundsTheNestingWhicheverBlockIsMetFirst) {
  // A stands alone, B holds A, and so on.
  std::string blocks = Block("A", kPoint);
  std::string sheet = Insert("A");
  for (char c = 'B'; c <= 'D'; ++c) {
    blocks += Block(std::string(1, c), Insert(std::string(1, static_cast<char>(c - 1))));
    sheet += Insert(std::string(1, c));
  }
  EXPECT_EQ("", DangerOf(blocks + sheet, 4));
  EXPECT_EQ(kRefusal, DangerOf(blocks + sheet, 3));
  EXPECT_EQ(kRefusal, DangerOf(blocks + Insert("D"), 3));
}

TEST(DxfGate, AnswersSoonWhereManyBlocksHoldEachOther) {
  std::string insertions;
  for (int i = 0; i < 40; ++i) insertions += Insert("B" + std::to_string(i));
  std::string text;
  for (int i = 0; i < 40; ++i) text += Block("B" + std::to_string(i), insertions);
  EXPECT_EQ(kRefusal, DangerOf(text + insertions));
}

TEST(DxfGate, IgnoresBlanksAroundCodesAndValues) {
  const std::string text =
      "  0\r\nBLOCK\r\n  2\r\nA \r\n  0\r\nPOINT\r\n  0\r\nENDBLK\r\n  0\r\nINSERT\r\n  2\r\n A\r\n 70\r\n 9999\r\n "
      "71\r\n 9999\r\n";
  EXPECT_EQ(kRefusal, DangerOf(text));
}

TEST(DxfGate, TakesMissingBlocksForEmpty) {
  EXPECT_EQ("", DangerOf(Insert("A", 30000, 30000)));
}

TEST(DxfGate, ReadsLinesThatCrossItsBuffer) {
  const std::string filler = Pair(999, std::string(70000, 'x'));
  EXPECT_EQ(kRefusal, DangerOf(filler + Block("A", filler + kPoint) + filler + Insert("A", 30000, 30000)));
}

}  // namespace
