#include "XCIBbase.h"
#include "RpfBuilder.h"
#include "TempFolder.h"
#include "XFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

class XCIBbaseTest : public testing::Test {
 protected:
  int Open(const std::vector<unsigned char>& bytes, int headBytes = 4096) {
    folder_.Write("frame", bytes);
    head_.assign(static_cast<std::size_t>(headBytes), 0);
    return base_.OpenHeaders(folder_.Path("frame").c_str(), headBytes ? head_.data() : nullptr, headBytes, bytesRead_);
  }
  int Open(const RpfBuilder& builder, int headBytes = 4096) { return Open(builder.Build(), headBytes); }
  /// What the walk finds with so much of the file in memory, the file standing behind that.
  int Find(const RpfBuilder& builder, std::size_t headBytes) {
    folder_.Write("frame", builder.Build());
    XFile file;
    EXPECT_TRUE(file.Open(folder_.Path("frame").c_str(), XFile::kRead));
    head_.assign(headBytes, 0);
    const auto numRead = static_cast<int>(file.Read(head_.data(), static_cast<std::int64_t>(headBytes)));
    return base_.FindRPFHeaderOffset(&file, head_.data(), numRead);
  }

  TempFolder folder_;
  XCIBbase base_;
  std::vector<unsigned char> head_;
  int bytesRead_ = -1;
};

RpfBuilder TwoComponents() {
  return RpfBuilder().Component(0x82, std::vector<unsigned char>(96, 1)).Component(0x83, {1, 2, 3, 4, 5, 6});
}

TEST_F(XCIBbaseTest, AFileThatDoesNotBeginWithTheMagicFailsAtOnce) {
  std::vector<unsigned char> bytes = TwoComponents().Build();
  bytes[3] = 'f';
  EXPECT_EQ(Open(bytes), 0);
  EXPECT_EQ(Open(std::vector<unsigned char>{'N', 'I', 'T'}), 0);
  EXPECT_EQ(base_.OpenHeaders(folder_.Path("none").c_str(), nullptr, 0, bytesRead_), 0);
}

TEST_F(XCIBbaseTest, TheHeaderSectionIsKeptWithItsTextsEnded) {
  ASSERT_EQ(Open(TwoComponents()), 1);
  const tagHeaderSectionRPF& header = base_.GetHeaderSection();
  EXPECT_EQ(header.endianIndicator, 0);
  EXPECT_EQ(header.headerSectionLength, 48);
  EXPECT_STREQ(header.fileName, "00A1B2C3.ON1");
  EXPECT_EQ(header.updateIndicator, 'N');
  EXPECT_STREQ(header.standardNumber, "MIL-C-89038    ");
  EXPECT_STREQ(header.standardDate, "19940304");
  EXPECT_STREQ(header.classification, "U");
  EXPECT_STREQ(header.country, "US");
  EXPECT_STREQ(header.releaseMarking, "RM");
  EXPECT_EQ(header.locationSectionOffset, static_cast<int>(TwoComponents().LocationOffset()));
  EXPECT_EQ(base_.GetFilePath(), XString(folder_.Path("frame").c_str()));
}

TEST_F(XCIBbaseTest, WhatIsBehindTheHeadIsReadFromTheFile) {
  for (const int headBytes : {0, 4, 5, 100, 500, 4096}) {
    ASSERT_EQ(Open(TwoComponents(), headBytes), 1) << headBytes;
    EXPECT_EQ(base_.FindComponent(0x83)->offset, static_cast<int>(TwoComponents().ComponentOffset(1)));
  }
  ASSERT_EQ(Open(TwoComponents(), 500), 1);
  EXPECT_EQ(bytesRead_, 500);
}

TEST_F(XCIBbaseTest, ComponentsAreFoundInBothByteOrders) {
  for (const bool littleEndian : {false, true}) {
    RpfBuilder builder = TwoComponents();
    if (littleEndian) builder.LittleEndian();
    ASSERT_EQ(Open(builder), 1);
    EXPECT_EQ(base_.IsLittleEndian(), littleEndian);
    ASSERT_NE(base_.FindComponent(0x83), nullptr);
    EXPECT_EQ(base_.FindComponent(0x83)->length, 6);
    EXPECT_EQ(base_.FindComponent(0x83)->offset, static_cast<int>(builder.ComponentOffset(1)));
    EXPECT_EQ(base_.FindComponent(0x84), nullptr);
  }
}

TEST_F(XCIBbaseTest, ALaterComponentOfAnIdOverridesAnEarlierOne) {
  ASSERT_EQ(Open(TwoComponents().ComponentAt(0x82, 7, 70000).ComponentAt(0x99, 1, 1)), 1);
  EXPECT_EQ(base_.FindComponent(0x82)->length, 7);
  EXPECT_EQ(base_.FindComponent(0x82)->offset, 70000);
}

TEST_F(XCIBbaseTest, RecordsStandAsFarApartAsTheTableSays) {
  for (const int recordBytes : {10, 11, 40}) {
    RpfBuilder builder = TwoComponents().ComponentRecordBytes(recordBytes);
    ASSERT_EQ(Open(builder), 1);
    EXPECT_EQ(base_.FindComponent(0x83)->offset, static_cast<int>(builder.ComponentOffset(1)));
  }
}

TEST_F(XCIBbaseTest, MoreRecordsThanOneRunAreAllRead) {
  for (const int headBytes : {600, 65536}) {
    RpfBuilder builder;
    for (std::uint32_t i = 0; i < 401; ++i) builder.ComponentAt(static_cast<int>(i), i, 2 * i);
    ASSERT_EQ(Open(builder, headBytes), 1);
    for (const int id : {0, 199, 200, 399, 400}) {
      ASSERT_NE(base_.FindComponent(id), nullptr) << id;
      EXPECT_EQ(base_.FindComponent(id)->offset, 2 * id);
    }
  }
}

TEST_F(XCIBbaseTest, AComponentTableBeyondTheEndOfTheFileFails) {
  std::vector<unsigned char> bytes = RpfBuilder().ComponentAt(1, 2, 3).Build();
  bytes.pop_back();
  EXPECT_EQ(Open(bytes), 0);
}

TEST_F(XCIBbaseTest, TheWalkFindsTheHeaderInTheShortAndTheLongLayout) {
  for (const bool isLong : {false, true}) {
    RpfBuilder builder = TwoComponents().Segments({3, 1, 4, 1, 5, 9}).ExtendedHeader(26);
    if (isLong) builder.LongLayout();
    EXPECT_EQ(Find(builder, 4096), static_cast<int>(builder.HeaderOffset()));
    EXPECT_EQ(Open(builder), 1);
  }
}

TEST_F(XCIBbaseTest, TheWalkFindsTheHeaderThroughTheFileAlone) {
  const RpfBuilder builder = TwoComponents().Segments({2, 1, 1, 2, 1, 1}).ExtendedHeader(9);
  EXPECT_EQ(Find(builder, 4), static_cast<int>(builder.HeaderOffset()));
}

TEST_F(XCIBbaseTest, AFieldBehindTheHeadIsLookedForFromTheEndOfTheHead) {
  // The head ends within the first list, so the next count is read 32 bytes behind the head and not where it stands.
  EXPECT_EQ(Find(TwoComponents().Segments({2, 0, 0, 0, 0, 0}), 365), -1);
}

TEST_F(XCIBbaseTest, AVersionOfOneReadsTheLongLayout) {
  std::vector<unsigned char> bytes = TwoComponents().LongLayout().Build();
  for (std::size_t i = 280; i < 286; ++i) bytes[i] = ' ';
  EXPECT_EQ(Open(bytes), 0);
  bytes[4] = '0';
  bytes[5] = '1';
  EXPECT_EQ(Open(bytes), 1);
}

TEST_F(XCIBbaseTest, InTheShortLayoutASegmentBehindTheHeaderMakesUpForAWrongSum) {
  const RpfBuilder builder = TwoComponents().ClaimExtendedLength(17);
  EXPECT_EQ(Find(builder, 4096), static_cast<int>(builder.HeaderOffset()));
  EXPECT_EQ(Find(TwoComponents().ClaimExtendedLength(17).LongLayout(), 4096), -1);
  EXPECT_EQ(Find(TwoComponents().ClaimExtendedLength(17).ClaimHeaderLength(300), 4096), -1);
}

TEST_F(XCIBbaseTest, AHeaderWhoseSumsDoNotAgreeIsReadFromTheFirstByte) {
  ASSERT_EQ(Open(TwoComponents().NoWrapper()), 1);
  EXPECT_EQ(base_.GetHeaderSection().endianIndicator, 'N');
  EXPECT_STREQ(base_.GetHeaderSection().standardDate, "19940304");
  EXPECT_EQ(base_.FindComponent(0x83)->length, 6);
}

TEST_F(XCIBbaseTest, AHeadOfLessThanNoBytesIsNone) {
  const std::vector<unsigned char> bytes = TwoComponents().Build();
  EXPECT_EQ(base_.FindRPFHeaderOffset(nullptr, bytes.data(), -1), -1);
  EXPECT_EQ(base_.ReadHeaderSection(nullptr, bytes.data(), -1), 0);
  EXPECT_EQ(base_.ReadLocationSection(nullptr, bytes.data(), -1), 0);
}

TEST_F(XCIBbaseTest, NumbersAreNeverExtendedByASign) {
  const unsigned char bytes[] = {0xFF, 0xFF, 0xFF, 0xFF, 0x01};
  EXPECT_EQ(XCIBbase::ReadUnsigned(bytes, 1, false), 255);
  EXPECT_EQ(XCIBbase::ReadUnsigned(bytes, 2, true), 65535);
  EXPECT_EQ(XCIBbase::ReadUnsigned(bytes, 3, false), 16777215);
  EXPECT_EQ(XCIBbase::ReadUnsigned(bytes, 4, true), -1);
  EXPECT_EQ(XCIBbase::ReadUnsigned(bytes + 2, 3, false), 0xFFFF01);
  EXPECT_EQ(XCIBbase::ReadUnsigned(bytes + 2, 3, true), 0x01FFFF);
}

TEST_F(XCIBbaseTest, DoublesAreReadInBothByteOrders) {
  const unsigned char big[] = {0xC0, 0x09, 0x21, 0xFB, 0x54, 0x44, 0x2D, 0x18};
  const unsigned char little[] = {0x18, 0x2D, 0x44, 0x54, 0xFB, 0x21, 0x09, 0xC0};
  EXPECT_DOUBLE_EQ(XCIBbase::ReadDouble(big, false), -3.14159265358979312);
  EXPECT_DOUBLE_EQ(XCIBbase::ReadDouble(little, true), -3.14159265358979312);
}

}  // namespace
