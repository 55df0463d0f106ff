#include "bands/jp2/Jp2Walk.h"
#include "base/BytesFile.h"
#include "Jp2Builder.h"

#include <gtest/gtest.h>

// The walk through the boxes of a file, apart from any file.

namespace {

using Bytes = std::vector<unsigned char>;
using zrk::Jp2Box;

constexpr std::int64_t kFar = std::int64_t{1} << 40;

std::optional<Jp2Box> Parse(const Bytes& bytes, std::int64_t end = kFar) {
  return zrk::ParseBoxHead(bytes, 0, end);
}

/// A box that says that it has so many bytes.
Bytes Head(std::uint32_t length, const char* type) {
  return Join({BigEndian(length, 4), Jp2Builder::Text(type)});
}

Bytes LongHead(std::uint64_t length) {
  return Join({Head(1, "jp2c"), BigEndian(length, 8)});
}

struct Walked {
  int result = 0;
  std::vector<Jp2Box> boxes;
  XString err;
};

Walked Walk(const Bytes& bytes) {
  zrk::BytesFile file(bytes);
  Walked walked;
  walked.result = zrk::WalkBoxes(file, walked.boxes, walked.err);
  return walked;
}

TEST(Jp2BoxHead, HasItsDataBehindLengthAndType) {
  const auto box = Parse(Head(100, "xml "));
  ASSERT_TRUE(box);
  EXPECT_EQ(zrk::kBoxXml, box->type);
  EXPECT_EQ(100, box->numBytes);
  EXPECT_EQ(8, box->dataOffset);
}

TEST(Jp2BoxHead, OfLengthOneHasALongLength) {
  const auto box = Parse(LongHead(5000000000));
  ASSERT_TRUE(box);
  EXPECT_EQ(5000000000, box->numBytes);
  EXPECT_EQ(16, box->dataOffset);
}

TEST(Jp2BoxHead, OfLengthZeroReachesToTheEnd) {
  const auto box = Parse(Head(0, "jp2c"), 777);
  ASSERT_TRUE(box);
  EXPECT_EQ(777, box->numBytes);
  EXPECT_FALSE(box->isCut);
}

TEST(Jp2BoxHead, OfAUuidHasItsIdentifierAndItsDataBehindThat) {
  const auto box = Parse(Join({Head(30, "uuid"), {zrk::kMsigUuid.begin(), zrk::kMsigUuid.end()}}));
  ASSERT_TRUE(box);
  EXPECT_EQ(zrk::kMsigUuid, box->uuid);
  EXPECT_EQ(24, box->dataOffset);
  EXPECT_EQ(6, box->CountDataBytes());
}

TEST(Jp2BoxHead, ThatIsLongerThanTheFileIsCutToIt) {
  const auto box = Parse(Head(100, "jp2c"), 60);
  ASSERT_TRUE(box);
  EXPECT_TRUE(box->isCut);
  EXPECT_EQ(60, box->numBytes);
}

TEST(Jp2BoxHead, CannotBeShorterThanItself) {
  for (const std::uint32_t length : {2U, 3U, 4U, 5U, 6U, 7U}) EXPECT_FALSE(Parse(Head(length, "xml "))) << length;
  for (const std::uint64_t length : {0U, 1U, 8U, 15U}) EXPECT_FALSE(Parse(LongHead(length))) << length;
}

TEST(Jp2BoxHead, OfAUuidThatIsTooShortHasNoIdentifier) {
  const auto box = Parse(Join({Head(20, "uuid"), Bytes(16, 0xAB)}), kFar);
  ASSERT_TRUE(box);
  EXPECT_EQ(20, box->numBytes);
  EXPECT_EQ(12, box->CountDataBytes());
  EXPECT_EQ(zrk::BoxUuid{}, box->uuid);
}

TEST(Jp2BoxHead, MayClaimNearlyAnyLength) {
  for (const std::uint64_t length : {std::uint64_t{INT64_MAX}, std::uint64_t{INT64_MAX} + 1, UINT64_MAX}) {
    const auto box = Parse(LongHead(length), 100);
    ASSERT_TRUE(box) << length;
    EXPECT_TRUE(box->isCut);
    EXPECT_EQ(100, box->numBytes);
  }
}

TEST(Jp2BoxHead, ThatIsNotWholeIsNone) {
  const Bytes whole = LongHead(40);
  for (std::size_t count = 0; count < whole.size(); ++count) {
    EXPECT_FALSE(Parse({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(count)})) << count;
  }
}

TEST(Jp2Walk, ListsBoxesWithThoseInThem) {
  const Bytes inner = Jp2Builder::MakeBox("lbl ", Jp2Builder::Text("gml.data"));
  const Walked walked = Walk(Join({Jp2Builder::MakeBox("jP  ", Bytes(4)), Jp2Builder::MakeBox("asoc", inner),
                                   Jp2Builder::MakeBox("xml ", Bytes(3))}));
  ASSERT_EQ(1, walked.result);
  ASSERT_EQ(4U, walked.boxes.size());
  EXPECT_EQ(zrk::kBoxAssociation, walked.boxes[1].type);
  EXPECT_EQ(1, walked.boxes[2].depth);
  EXPECT_EQ(20, walked.boxes[2].offset);
  EXPECT_EQ(0, walked.boxes[3].depth);
  EXPECT_EQ(36, walked.boxes[3].offset);
}

TEST(Jp2Walk, EndsAtTheFirstEmptyType) {
  const Bytes empty = Join({BigEndian(8, 4), Bytes(4)});
  const Walked walked = Walk(Join({Jp2Builder::MakeBox("xml ", {}), empty, Jp2Builder::MakeBox("xml ", {})}));
  EXPECT_EQ(1, walked.result);
  EXPECT_EQ(1U, walked.boxes.size());
}

TEST(Jp2Walk, EndsAtALengthThatCannotBe) {
  const Walked walked = Walk(Join({Jp2Builder::MakeBox("xml ", {}), Head(5, "xml "), Jp2Builder::MakeBox("xml ", {})}));
  EXPECT_EQ(1, walked.result);
  EXPECT_EQ(1U, walked.boxes.size());
}

TEST(Jp2Walk, FindsTypesInAnyCaseOfTheirLetters) {
  const Walked walked = Walk(Jp2Builder::MakeBox("XmL ", {}));
  EXPECT_TRUE(zrk::FindBox(walked.boxes, zrk::kBoxXml));
  EXPECT_FALSE(zrk::FindBox(walked.boxes, zrk::kBoxLabel));
}

TEST(Jp2Walk, KnowsIdentifiersAndOuterBoxesInAnyCaseOfTheirLetters) {
  const Bytes identifier(16, 0xAB);
  const Walked walked = Walk(
      Join({Jp2Builder::MakeBox("UUID", identifier), Jp2Builder::MakeBox("ASOC", Jp2Builder::MakeBox("xml ", {}))}));
  ASSERT_EQ(3U, walked.boxes.size());
  EXPECT_EQ(0xAB, walked.boxes[0].uuid[15]);
  EXPECT_EQ(0, walked.boxes[0].CountDataBytes());
  EXPECT_EQ(1, walked.boxes[2].depth);
}

TEST(Jp2Walk, GoesOnBehindABoxThatIsTooShortForItsIdentifier) {
  const Walked walked = Walk(Join({Jp2Builder::MakeBox("uuid", Bytes(15, 0xAB)), Jp2Builder::MakeBox("xml ", {})}));
  ASSERT_EQ(2U, walked.boxes.size());
  EXPECT_EQ(zrk::BoxUuid{}, walked.boxes[0].uuid);
  EXPECT_EQ(15, walked.boxes[0].CountDataBytes());
}

TEST(Jp2Walk, FindsBoxesOnlyDirectlyBeneathAnother) {
  const Bytes deep = Jp2Builder::MakeBox("asoc", Jp2Builder::MakeBox("asoc", Jp2Builder::MakeBox("xml ", {})));
  const Walked walked = Walk(deep);
  EXPECT_FALSE(zrk::FindBox(walked.boxes, zrk::kBoxXml));
  EXPECT_FALSE(zrk::FindBox(walked.boxes, zrk::kBoxXml, &walked.boxes[0]));
  EXPECT_TRUE(zrk::FindBox(walked.boxes, zrk::kBoxXml, &walked.boxes[1]));
}

TEST(Jp2Walk, RefusesTwentyThousandNestedBoxes) {
  Bytes bytes;
  constexpr std::uint32_t kCount = 20000;
  for (std::uint32_t i = 0; i < kCount; ++i) {
    const Bytes head = Head(8 * (kCount - i), "asoc");
    bytes.insert(bytes.end(), head.begin(), head.end());
  }
  const Walked walked = Walk(bytes);
  EXPECT_EQ(0, walked.result);
  EXPECT_EQ(XString("The boxes of the file are nested too deeply"), walked.err);
}

TEST(Jp2Walk, RefusesSixtyThousandTexts) {
  Bytes bytes;
  bytes.reserve(60000 * 8);
  for (int i = 0; i < 60000; ++i) {
    const Bytes box = Head(8, "xml ");
    bytes.insert(bytes.end(), box.begin(), box.end());
  }
  const Walked walked = Walk(bytes);
  EXPECT_EQ(0, walked.result);
  EXPECT_EQ(XString("The file has too many boxes"), walked.err);
}

TEST(Jp2BoxName, HasDotsForWhatCannotBePrinted) {
  EXPECT_EQ(XString("jP  "), zrk::NameBox(zrk::kBoxSignature));
  EXPECT_EQ(XString("a..z"), zrk::NameBox(0x6101FF7A));
}

}  // namespace
