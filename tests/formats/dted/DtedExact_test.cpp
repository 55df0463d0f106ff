#include "ByteFlips.h"
#include "DtedBuilder.h"
#include "LoadedRaster.h"
#include "XFormatId.h"
#include "ZRMBandDTED.h"

#include <gtest/gtest.h>

#include <cstring>

// Elevation cells under the exact policy, and the transform of both policies.

namespace {

constexpr int kFailed = -99999;

class ExactCell : public LoadedRaster {
 public:
  explicit ExactCell(const std::vector<unsigned char>& bytes, XReadPolicy policy = kReadExact)
      : LoadedRaster(bytes, kFormatDTED, policy) {}
  int Post(int x, int y) {
    const std::vector<std::int16_t> heights = Heights(0, {x, x, y, y});
    return heights.empty() ? kFailed : heights[0];
  }
  std::vector<std::int16_t> Heights(int level, const Window& window) {
    return ReadSamples<std::int16_t>(level, window);
  }
};

std::size_t ColumnAt(const DtedBuilder& builder, int column) {
  return builder.HeaderBytes() + static_cast<std::size_t>(column) * builder.ColumnBytes();
}

/// A cell of which only the records of the columns told are left, in that order.
std::vector<unsigned char> WithColumns(const DtedBuilder& builder, const std::vector<int>& columns) {
  const std::vector<unsigned char> whole = builder.Build();
  std::vector<unsigned char> bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(builder.HeaderBytes()));
  for (const int column : columns) {
    const auto begin = whole.begin() + static_cast<std::ptrdiff_t>(ColumnAt(builder, column));
    bytes.insert(bytes.end(), begin, begin + static_cast<std::ptrdiff_t>(builder.ColumnBytes()));
  }
  return bytes;
}

TEST(DtedExact, KeepsUnknownHeightsAndTellsTheirValue) {
  const std::uint16_t words[] = {0xFFFF, 12, 0xFFFF};
  ExactCell cell(DtedBuilder().Size(9, 3).Words([&](int, int point) { return words[point]; }).Build());
  ASSERT_TRUE(cell.IsOpen()) << cell.Reason();
  EXPECT_EQ(kUnknownHeight, cell.Post(4, 0));
  EXPECT_EQ(12, cell.Post(4, 1));
  EXPECT_EQ(kUnknownHeight, cell.Band().GetNullValue());
}

TEST(DtedExact, KeepsHeightsFarBelowZero) {
  const std::uint16_t words[] = {0x8001, 0xBE7F, 0xBE80, 0xFFFE, 0x7FFF, 0x8000};
  ExactCell cell(DtedBuilder().Size(9, 6).Words([&](int, int point) { return words[point]; }).Build());
  const int heights[] = {-1, -15999, -16000, -32766, 32767, 0};
  for (int point = 0; point < 6; ++point) EXPECT_EQ(heights[point], cell.Post(8, 5 - point));
}

TEST(DtedExact, LeavesUnknownHeightsOutOfStatistics) {
  const auto word = [](int line, int) { return static_cast<std::uint16_t>(line == 2 ? 0xFFFF : 100 + line); };
  ExactCell cell(DtedBuilder().Size(5, 5).Words(word).Build());
  ASSERT_EQ(1, cell.Band().CalcStatistics(0));
  EXPECT_EQ(100.0, cell.Band().GetBandMin());
  EXPECT_EQ(104.0, cell.Band().GetBandMax());
  EXPECT_EQ(102.0, cell.Band().GetBandMean());
}

TEST(DtedExact, ReadsColumnsOfACutFileThatAreWhole) {
  const DtedBuilder builder = DtedBuilder().Size(13, 9);
  std::vector<unsigned char> bytes = builder.Build();
  for (const std::size_t cut : {ColumnAt(builder, 6), ColumnAt(builder, 6) + 20, ColumnAt(builder, 7) - 1}) {
    bytes.resize(bytes.size() > cut ? cut : bytes.size());
    ExactCell cell(bytes);
    bytes = builder.Build();
    ASSERT_TRUE(cell.IsOpen()) << cell.Reason();
    for (int x = 0; x < 6; ++x) EXPECT_EQ(HeightOfWord(DtedBuilder::AnyWord(x, 3)), cell.Post(x, 5));
    EXPECT_EQ("The file ends before column 6 of the cell", cell.Failure({0, 12, 0, 8}));
    EXPECT_EQ("The file ends before column 9 of the cell", cell.Failure({9, 9, 2, 2}));
    EXPECT_EQ("", cell.Failure({0, 5, 0, 8}));
  }
}

TEST(DtedExact, AWrongChecksumFailsItsColumnAndNoOther) {
  const DtedBuilder builder = DtedBuilder().Size(20, 9);
  std::vector<unsigned char> bytes = builder.Build();
  bytes[ColumnAt(builder, 17) + 8 + 3] ^= 4;
  ExactCell cell(bytes);
  ASSERT_TRUE(cell.IsOpen()) << cell.Reason();
  EXPECT_EQ("A record is damaged, and it may be that of column 17 of the cell", cell.Failure({0, 19, 0, 0}));
  EXPECT_EQ("", cell.Failure({0, 16, 0, 8}));
  EXPECT_EQ("", cell.Failure({18, 19, 0, 8}));
  EXPECT_EQ(HeightOfWord(DtedBuilder::AnyWord(19, 8)), cell.Post(19, 0));
}

TEST(DtedExact, EachFlippedBitOfARecordFailsItsColumn) {
  const DtedBuilder builder = DtedBuilder().Size(4, 6);
  const std::vector<unsigned char> sound = builder.Build();
  for (std::size_t i = 0; i < builder.ColumnBytes(); ++i) {
    std::vector<unsigned char> bytes = sound;
    bytes[ColumnAt(builder, 2) + i] ^= 0x10;
    ExactCell cell(bytes);
    ASSERT_TRUE(cell.IsOpen());
    EXPECT_NE("", cell.Failure({2, 2, 0, 5})) << i;
    for (const int x : {0, 1, 3}) EXPECT_EQ(HeightOfWord(DtedBuilder::AnyWord(x, 5)), cell.Post(x, 0)) << i;
  }
}

TEST(DtedExact, PlacesColumnsByTheirNumbers) {
  ExactCell cell(WithColumns(DtedBuilder().Size(5, 3), {3, 0, 4, 1, 2}));
  ASSERT_TRUE(cell.IsOpen()) << cell.Reason();
  for (int x = 0; x < 5; ++x) EXPECT_EQ(HeightOfWord(DtedBuilder::AnyWord(x, 1)), cell.Post(x, 1)) << x;
}

TEST(DtedExact, ColumnsThatACellLacksAreUnknown) {
  ExactCell cell(WithColumns(DtedBuilder().Size(9, 3), {2, 3, 6}));
  ASSERT_TRUE(cell.IsOpen()) << cell.Reason();
  const std::vector<std::int16_t> row = cell.Heights(0, {0, 8, 1, 1});
  ASSERT_EQ(9u, row.size());
  for (int x = 0; x < 9; ++x) {
    const bool isThere = x == 2 || x == 3 || x == 6;
    EXPECT_EQ(isThere ? HeightOfWord(DtedBuilder::AnyWord(x, 1)) : kUnknownHeight, row[static_cast<std::size_t>(x)])
        << x;
  }
  const auto known = [](int x) { return static_cast<std::int16_t>(HeightOfWord(DtedBuilder::AnyWord(x, 2))); };
  EXPECT_EQ((std::vector<std::int16_t>{kUnknownHeight, known(2), kUnknownHeight, known(6)}),
            cell.Heights(1, {0, 8, 0, 1}));
}

TEST(DtedExact, APartialCellThatIsCutWithinARecordFailsBehindIt) {
  std::vector<unsigned char> bytes = WithColumns(DtedBuilder().Size(9, 3), {2, 3, 6});
  bytes.resize(bytes.size() - 5);
  ExactCell cell(bytes);
  EXPECT_EQ(kUnknownHeight, cell.Post(1, 0));
  EXPECT_EQ("The file ends before column 6 of the cell", cell.Failure({6, 6, 0, 0}));
}

TEST(DtedExact, AColumnThatComesTwiceIsDamage) {
  ExactCell cell(WithColumns(DtedBuilder().Size(4, 3), {0, 1, 1, 3}));
  EXPECT_EQ("", cell.Failure({0, 1, 0, 2}));
  EXPECT_EQ("A record is damaged, and it may be that of column 2 of the cell", cell.Failure({2, 2, 0, 0}));
}

TEST(DtedExact, SaysWhatIsWrongWithAFileThatItRefuses) {
  const auto reason = [](const std::vector<unsigned char>& bytes) {
    const std::string text = ExactCell(bytes).Reason();
    return text.substr(text.find("image") == std::string::npos ? 0 : text.find("image"));
  };
  EXPECT_EQ("image : it is no elevation cell", reason(DtedBuilder().Put(139, "XXXX").Build()));
  EXPECT_EQ("image : it begins with a record that must not come first", reason(DtedBuilder().Put(0, "ACC").Build()));
  EXPECT_EQ("The file is empty", reason({}));
  EXPECT_EQ("The cell has no columns or no rows", reason(DtedBuilder().Claim("0000", "0005").Build()));
}

TEST(DtedCompatible, HasNoNullValue) {
  ExactCell cell(DtedBuilder().Size(9, 3).Build(), kReadCompatible);
  EXPECT_EQ(kNotSet, cell.Band().GetNullValue());
}

TEST(DtedCompatible, DoesNotLookAtChecksums) {
  const DtedBuilder builder = DtedBuilder().Size(20, 9).Words([](int, int) { return std::uint16_t{64}; });
  std::vector<unsigned char> bytes = builder.Build();
  bytes[ColumnAt(builder, 17) + 8 + 1] ^= 4;
  ExactCell cell(bytes, kReadCompatible);
  EXPECT_EQ(68, cell.Post(17, 8));
}

TEST(DtedCompatible, TakesColumnsInTheOrderOfTheFile) {
  ExactCell cell(WithColumns(DtedBuilder().Size(5, 3), {3, 0, 4}), kReadCompatible);
  for (const auto& [x, column] : {std::pair(0, 3), std::pair(1, 0), std::pair(2, 4)}) {
    EXPECT_EQ(HeightOfWord(DtedBuilder::AnyWord(column, 1)), cell.Post(x, 1)) << x;
  }
  EXPECT_EQ(0, cell.Post(3, 1));
}

/// In both policies the outer edges lie half a step outside the corner posts.
TEST(DtedPlace, IsThatOfTheOuterEdgesInTheTransformOfBothPolicies) {
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    ExactCell cell(DtedBuilder().Size(1201, 5).Corners("350000N", "1381515E", "360000N", "1391515E").Build(), policy);
    ASSERT_TRUE(cell.IsOpen()) << cell.Reason();
    double transform[6];
    cell.Band().GetGeoTransform(transform);
    EXPECT_DOUBLE_EQ(138.0 + 15.0 / 60 + 15.0 / 3600 - 0.5 / 1200, transform[0]);
    EXPECT_DOUBLE_EQ(1.0 / 1200, transform[1]);
    EXPECT_DOUBLE_EQ(36.125, transform[3]);
    EXPECT_DOUBLE_EQ(-0.25, transform[5]);
    EXPECT_EQ(0.0, transform[2]);
    EXPECT_EQ(0.0, transform[4]);
  }
}

TEST(DtedExact, SurvivesFlippedBytes) {
  const DtedBuilder builder = DtedBuilder().Size(9, 12);
  const HeaderRange header{0, 330};
  FlipBytes(builder.Build(), TrialCount(2000, 300), header, [](const std::vector<unsigned char>& bytes) {
    ExactCell cell(bytes);
    if (!cell.IsOpen()) {
      EXPECT_NE("", cell.Reason());
      return;
    }
    const Window whole = WholeWindowOf(cell.Band());
    EXPECT_TRUE(cell.Failure(whole) != "no reason");
  });
}

}  // namespace
