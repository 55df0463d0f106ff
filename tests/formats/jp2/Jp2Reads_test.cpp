// What a read makes of a decoder that fails, of a disk that fails and of a stop. Decoding itself is done by a stand-in
// where a test has to know when it happens.

#include "codec/J2kDecoder.h"
#include "FaultyDisk.h"
#include "Jp2Builder.h"
#include "LoadedRaster.h"
#include "XFormatId.h"
#include "ZRMBandJ2K.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>

namespace {

using ReadBytesOf = std::vector<unsigned char>;

/// What a test tells the stand-in, and what it has done.
struct DecoderScript {
  std::vector<int> samples = {10, 20, 30};  // by component
  int numDecodes = 0;                       // so far
  int failing = 0;                          // the one that fails
  int* stop = nullptr;                      // raised by each decode
};

/// Gives each component one number.
class ScriptedDecoder final : public zrk::J2kDecoder {
 public:
  static inline DecoderScript script;
  static std::unique_ptr<J2kDecoder> Make() { return std::make_unique<ScriptedDecoder>(); }

  bool LeavesLevelShift() const override { return false; }
  int Open(std::unique_ptr<zrk::J2kStream>, const zrk::J2kSettings&, XString&) override { return 1; }
  int Decode(const zrk::J2kRect& area, std::vector<zrk::J2kPlane>& planes, XString& err) override {
    if (script.stop) *script.stop = 1;
    if (++script.numDecodes == script.failing) {
      err = "The decoder fails as told";
      return 0;
    }
    planes.clear();
    for (std::size_t c = 0; c < script.samples.size(); ++c) {
      samples_[c].assign(static_cast<std::size_t>(area.Width() * area.Height()), script.samples[c]);
      planes.push_back({.component = static_cast<int>(c), .rect = area, .samples = samples_[c].data()});
    }
    return 1;
  }
  void FreePlanes() override {}
  bool CanDecodeAgain() const override { return false; }

 private:
  std::array<std::vector<std::int32_t>, 3> samples_;
};

class Jp2Scripted : public testing::Test {
 protected:
  Jp2Scripted() { ScriptedDecoder::script = {}; }

  static const tagXArr2* ReadCorner(ZRMBand& band) {
    tagXArr2* out = nullptr;
    return band.ReadSubset(out, 0, 2, 9, 3, 8, nullptr) ? out : nullptr;
  }
  static std::string LastReason() {
    XString reason;
    return XfnGetLastReadError(reason) ? reason.AsStdString() : "no reason";
  }

  DecoderScript& script_ = ScriptedDecoder::script;
  const zrk::ScopedJ2kDecoders scope_{&ScriptedDecoder::Make};
  const ReadBytesOf bytes_ = Jp2Builder().Components(3).BuildCodestream();
};

using Jp2Repeats = Jp2Scripted;

TEST_F(Jp2Repeats, OfAWindowDecodeNothingInEitherPolicy) {
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    script_ = {};
    LoadedRaster image(bytes_, kFormatJP2, policy);
    ASSERT_NE(nullptr, ReadCorner(image.Band()));
    const tagXArr2* const again = ReadCorner(image.Band());
    EXPECT_EQ(10, again->data[0]);
    EXPECT_EQ(again, ReadCorner(image.Band()));
    EXPECT_EQ(20, ReadCorner(image.Band(1))->data[0]);
    EXPECT_EQ(1, script_.numDecodes);
    EXPECT_EQ("", image.Failure({2, 9, 3, 9}));  // another window
    EXPECT_EQ(2, script_.numDecodes);
  }
}

TEST_F(Jp2Repeats, AreNeverAnsweredAfterADecodeThatFailedInEitherPolicy) {
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    script_ = {.failing = 1};
    LoadedRaster image(bytes_, kFormatJP2, policy);
    EXPECT_EQ(nullptr, ReadCorner(image.Band()));
    EXPECT_EQ("The decoder fails as told", LastReason());
    EXPECT_EQ(nullptr, static_cast<ZRMBandJ2K&>(image.Band()).GetResult(0));
    script_.failing = 2;
    EXPECT_EQ(nullptr, ReadCorner(image.Band(1)));
    ASSERT_NE(nullptr, ReadCorner(image.Band(1)));
    EXPECT_EQ(20, ReadCorner(image.Band(1))->data[0]);
    EXPECT_EQ(3, script_.numDecodes);
  }
}

TEST_F(Jp2Repeats, EndWithTheMemoryOfTheirResults) {
  LoadedRaster image(bytes_, kFormatJP2, kReadExact);
  ReadCorner(image.Band());
  image.Band().CleanupMemory(1, 1);
  std::array<int, 5> last{};
  static_cast<ZRMBandJ2K&>(image.Band()).GetPrevReadSubsetParam(last[0], last[1], last[2], last[3], last[4]);
  EXPECT_EQ((std::array{-1, -1, -1, -1, -1}), last);
  ReadCorner(image.Band());
  EXPECT_EQ(2, script_.numDecodes);
}

using Jp2WideSamples = Jp2Scripted;

/// Two components, and the second with that byte of depth and sign in the header.
ReadBytesOf WithSecondDepth(unsigned char depth) {
  ReadBytesOf bytes = Jp2Builder().Components(2).BuildCodestream();
  constexpr std::size_t kSecondDepth = 45;  // behind the sizes of image and tiles, and three bytes of the first one
  bytes[kSecondDepth] = depth;
  return bytes;
}

/// The middle of 31 bits, shifted by 23, is the middle of 8.
TEST_F(Jp2WideSamples, Of31BitsBecomeBytesCompatibly) {
  const LoadedRaster first(WithSecondDepth(30), kFormatJP2, kReadExact);
  EXPECT_EQ("[Number of bytes : 4] is not supported!", first.Reason());
  struct Case {
    unsigned char depth;
    int sample;
    int expected;
  };
  constexpr unsigned char kUnsigned = 30, kSigned = 30 | 0x80;
  for (const Case& each : {Case{kUnsigned, 0, 0},
                           {kUnsigned, 1 << 30, 128},
                           {kUnsigned, INT_MAX, 255},
                           {kSigned, -(1 << 30), 0},
                           {kSigned, 0, 128},
                           {kSigned, (1 << 30) - 1, 255}}) {
    script_.samples = {1, each.sample};
    LoadedRaster image(WithSecondDepth(each.depth), kFormatJP2, kReadCompatible);
    ASSERT_TRUE(image.IsOpen()) << image.Reason();
    EXPECT_EQ(each.expected, image.Read(1, 0, {0, 3, 0, 3}).bytes[0]) << each.sample;
  }
}

/// A decoder may give samples outside of their range where data is damaged.
TEST_F(Jp2WideSamples, OutsideOfTheirRangeDoNoHarm) {
  for (const int depth : {0, 7, 15, 30}) {
    for (const int sample : {INT_MIN, INT_MAX}) {
      script_.samples = {sample, sample};
      LoadedRaster image(WithSecondDepth(static_cast<unsigned char>(depth)), kFormatJP2, kReadCompatible);
      EXPECT_EQ("", image.Failure({0, 3, 0, 3})) << depth;
    }
  }
}

std::size_t FindPart(const ReadBytesOf& bytes, std::size_t from) {
  constexpr unsigned char kPartMark[] = {0xFF, 0x90, 0, 10};
  const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(from);
  return static_cast<std::size_t>(std::search(first, bytes.end(), std::begin(kPartMark), std::end(kPartMark)) -
                                  bytes.begin());
}

/// Three tiles beside each other, of which the first stands last, and is cut within its header.
ReadBytesOf MakeCutInHeader() {
  const ReadBytesOf bytes = Jp2Builder().Size(96, 32).Tiles(32, 32).PacketLengths().BuildCodestream();
  const std::size_t first = FindPart(bytes, 0), second = FindPart(bytes, first + 1);
  const auto at = [&](std::size_t place) { return bytes.begin() + static_cast<std::ptrdiff_t>(place); };
  constexpr std::size_t kCutAt = 16;  // behind the head of the part and the marker and length of a list
  return Join({{at(0), at(first)}, {at(second), bytes.end() - 2}, {at(first), at(first + kCutAt)}});
}

using Jp2Stop = Jp2Scripted;

TEST_F(Jp2Stop, IsToldAsSuchBehindATileThatWasPassedOver) {
  script_.samples = {10};
  LoadedRaster image(MakeCutInHeader(), kFormatJP2, kReadCompatible);
  ASSERT_EQ("", image.Failure({0, 95, 0, 31}));
  int stop = 0;
  script_.stop = &stop;
  tagXArr2* out = nullptr;
  EXPECT_EQ(0, image.Band().ReadSubset(out, 0, 0, 95, 0, 30, &stop));
  EXPECT_EQ("The read was stopped", LastReason());
}

/// Reads with each of the disk's reads failing in turn give the samples or tell of the disk.
void ExpectDiskIsToldOf(const ReadBytesOf& bytes, XReadPolicy policy) {
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  const Window all{0, 63, 0, 31};
  const Pixels expected = LoadedRaster(bytes, kFormatJP2, policy).Read(0, 0, all);
  ASSERT_FALSE(expected.bytes.empty());
  for (int nth = 1, numReads = nth; nth <= numReads; ++nth) {
    LoadedRaster image(bytes, kFormatJP2, policy);
    const int before = disk.GetReadCount();
    disk.FailRead(before + nth);
    const Pixels pixels = image.Read(0, 0, all);
    numReads = disk.GetReadCount() - before;
    if (!pixels.bytes.empty()) {
      EXPECT_EQ(expected, pixels) << nth;
      continue;
    }
    XString reason;
    EXPECT_TRUE(XfnGetLastReadError(reason));
    EXPECT_TRUE(reason.AsStdString().starts_with("The disk fails")) << nth << ": " << reason.GetText();
    EXPECT_EQ(expected, image.Read(0, 0, all)) << nth;
  }
}

TEST(Jp2DiskFailures, AreNeverToldAsDamage) {
  const ReadBytesOf bytes =
      Jp2Builder().Size(64, 32).Tiles(32, 32).PacketLengths().PartPerResolution().BuildCodestream();
  const ReadBytesOf listed = Jp2Builder().Size(64, 32).Tiles(32, 32).TileLengths().BuildCodestream();
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    ExpectDiskIsToldOf(bytes, policy);
    ExpectDiskIsToldOf(listed, policy);
  }
  ExpectDiskIsToldOf(MakeCutInHeader(), kReadCompatible);
}

}  // namespace
