#include "ByteFlips.h"
#include "HdfBuilder.h"
#include "LoadedRaster.h"
#include "XDataType.h"
#include "XFormatId.h"
#include "ZRMBandHDF4.h"

#include <gtest/gtest.h>

#include <cstring>

// HDF4 files under the exact policy, put together record by record.

namespace {

using Bytes = std::vector<unsigned char>;

constexpr std::uint16_t kNumberType = 106, kDimensions = 300, kRaster = 302, kCoded = 303, kGroup = 306;
constexpr std::uint16_t kShape = 701, kSamples = 702, kDataSet = 720;

/// Numbers one behind the other, of the bytes told, highest byte first.
Bytes Numbers(std::initializer_list<std::pair<std::int64_t, int>> numbers) {
  Bytes bytes;
  for (const auto& [number, numBytes] : numbers) {
    for (int i = numBytes - 1; i >= 0; --i) bytes.push_back(static_cast<unsigned char>(number >> (8 * i)));
  }
  return bytes;
}

/// A file of records, each with its tag and its reference.
class HdfRecords {
 public:
  HdfRecords& Add(std::uint16_t tag, std::uint16_t reference, const Bytes& bytes) {
    records_.push_back({tag, reference, bytes});
    return *this;
  }
  /// An image of 3 x 2 pixels in a group, without its samples.
  HdfRecords& AddImage(int numSamples = 1, std::uint16_t compression = 0) {
    Add(kDimensions, 2,
        Numbers({{3, 4}, {2, 4}, {kNumberType, 2}, {2, 2}, {numSamples, 2}, {0, 2}, {compression, 2}, {2, 2}}));
    return Add(kGroup, 2, Numbers({{kDimensions, 2}, {2, 2}, {compression ? kCoded : kRaster, 2}, {2, 2}}));
  }
  HdfRecords& AddNumberType(int code, int way = 1) {
    return Add(kNumberType, 2, Numbers({{1, 1}, {code, 1}, {8, 1}, {way, 1}}));
  }
  /// A data set of 2 rows and 3 columns.
  HdfRecords& AddDataSet(int numDimensions = 2) {
    Add(kShape, 2, Numbers({{numDimensions, 2}, {2, 4}, {3, 4}, {kNumberType, 2}, {2, 2}}));
    return Add(kDataSet, 2, Numbers({{kSamples, 2}, {2, 2}, {kShape, 2}, {2, 2}}));
  }

  Bytes Build() const {
    Bytes bytes = Numbers({{0x0E031301, 4}, {std::ssize(records_), 2}, {0, 4}});
    std::int64_t offset = std::ssize(bytes) + 12 * std::ssize(records_);
    for (const Record& each : records_) {
      const Bytes descriptor = Numbers({{each.tag, 2}, {each.reference, 2}, {offset, 4}, {std::ssize(each.bytes), 4}});
      bytes.insert(bytes.end(), descriptor.begin(), descriptor.end());
      offset += std::ssize(each.bytes);
    }
    for (const Record& each : records_) bytes.insert(bytes.end(), each.bytes.begin(), each.bytes.end());
    return bytes;
  }

 private:
  struct Record {
    std::uint16_t tag;
    std::uint16_t reference;
    Bytes bytes;
  };
  std::vector<Record> records_;
};

class ExactHdf : public LoadedRaster {
 public:
  explicit ExactHdf(const Bytes& bytes) : LoadedRaster(bytes, kFormatHDF4) {}
};

constexpr Window kWhole{0, 2, 0, 1};

/// Six samples of a number type, as bytes in the file and as the band gives them.
template <class Sample>
void ExpectSamples(int code, int way, int dataType, int sampleBytes, const std::vector<Sample>& expected) {
  Bytes raster;
  for (const Sample sample : expected) {
    Bytes bytes(sizeof sample);
    std::memcpy(bytes.data(), &sample, sizeof sample);
    if (way != 4) std::reverse(bytes.begin(), bytes.end());  // the machine is little-endian
    raster.insert(raster.end(), bytes.begin(), bytes.end());
  }
  ASSERT_EQ(6 * sampleBytes, std::ssize(raster));
  ExactHdf image(HdfRecords().AddNumberType(code, way).AddImage().Add(kRaster, 2, raster).Build());
  ASSERT_TRUE(image.IsOpen()) << image.Reason();
  EXPECT_EQ(dataType, image.Band().GetDataType());
  EXPECT_EQ(expected, image.ReadSamples<Sample>(0, kWhole));
  EXPECT_EQ((std::vector<Sample>{expected[1], expected[2], expected[4], expected[5]}),
            image.ReadSamples<Sample>(0, {1, 2, 0, 1}));
  ExactHdf set(HdfRecords().AddNumberType(code, way).AddDataSet().Add(kSamples, 2, raster).Build());
  ASSERT_TRUE(set.IsOpen()) << set.Reason();
  EXPECT_EQ(expected, set.ReadSamples<Sample>(0, kWhole));
}

TEST(HdfExact, ServesEachNumberTypeByItsOwn) {
  ExpectSamples<std::uint8_t>(3, 0, kPint08, 1, {0, 1, 2, 253, 254, 255});
  ExpectSamples<std::uint8_t>(4, 1, kPint08, 1, {0, 1, 2, 253, 254, 255});
  ExpectSamples<std::uint8_t>(21, 1, kPint08, 1, {0, 1, 2, 253, 254, 255});
  ExpectSamples<std::int8_t>(20, 1, kSint08, 1, {-128, -1, 0, 1, 2, 127});
  ExpectSamples<std::int16_t>(22, 1, kSint16, 2, {-32768, -1, 0, 1, 258, 32767});
  ExpectSamples<std::uint16_t>(23, 1, kPint16, 2, {0, 1, 2, 258, 32768, 65535});
  ExpectSamples<std::int32_t>(24, 1, kSint32, 4, {-2147483647, -1, 0, 1, 66051, 2147483647});
  ExpectSamples<std::uint32_t>(25, 1, kPint32, 4, {0, 1, 2, 66051, 2147483648u, 4294967295u});
  ExpectSamples<float>(5, 1, kReal32, 4, {-1.5f, 0.0f, 1e-20f, 3.25f, 1e30f, 2.0f});
  ExpectSamples<double>(6, 1, kReal64, 8, {-1.5, 0.0, 1e-200, 3.25, 1e300, 2.0});
}

TEST(HdfExact, ServesNumbersThatAreStoredLowestByteFirst) {
  ExpectSamples<std::int16_t>(22, 4, kSint16, 2, {-32768, -1, 0, 1, 258, 32767});
  ExpectSamples<double>(6, 4, kReal64, 8, {-1.5, 0.0, 1e-200, 3.25, 1e300, 2.0});
}

TEST(HdfExact, FindsAnImageWithoutAGroup) {
  const Bytes dimensions = Numbers({{3, 4}, {2, 4}, {kNumberType, 2}, {2, 2}, {1, 2}, {0, 2}, {0, 2}, {0, 2}});
  ExactHdf image(
      HdfRecords().AddNumberType(21).Add(kDimensions, 5, dimensions).Add(kRaster, 5, {1, 2, 3, 4, 5, 6}).Build());
  ASSERT_TRUE(image.IsOpen()) << image.Reason();
  EXPECT_EQ((Bytes{1, 2, 3, 4, 5, 6}), image.ReadSamples<unsigned char>(0, kWhole));
}

TEST(HdfExact, LevelsAreThinnedFromTheCornerOfTheWindow) {
  ExactHdf image(HdfBuilder().Size(9, 7).Build());
  ASSERT_TRUE(image.IsOpen()) << image.Reason();
  Bytes expected;
  for (const int y : {1, 3}) {
    for (const int x : {1, 3, 5, 7}) expected.push_back(HdfBuilder::Pixel(x, y));
  }
  EXPECT_EQ(expected, image.ReadSamples<unsigned char>(1, {1, 8, 1, 5}));
}

TEST(HdfExact, RowsBeforeTheEndOfACutFileAreRead) {
  Bytes bytes = HdfBuilder().Size(9, 7).Build();
  bytes.resize(bytes.size() - 9 * 3 + 4);
  ExactHdf image(bytes);
  ASSERT_TRUE(image.IsOpen()) << image.Reason();
  EXPECT_EQ("", image.Failure({0, 8, 0, 3}));
  EXPECT_EQ("", image.Failure({0, 3, 0, 4}));
  EXPECT_EQ("The file ends before the image's row 4", image.Failure({0, 8, 0, 6}));
  EXPECT_EQ("The file ends before the image's row 6", image.Failure({0, 0, 6, 6}));
}

TEST(HdfExact, ARasterThatIsShorterThanItsImageFailsBehindIt) {
  HdfRecords records = HdfRecords().AddNumberType(21).AddImage().Add(kRaster, 2, {1, 2, 3, 4});
  ExactHdf image(records.Add(900, 9, {9, 9, 9, 9}).Build());
  EXPECT_EQ("", image.Failure({0, 2, 0, 0}));
  EXPECT_EQ("", image.Failure({0, 0, 1, 1}));
  EXPECT_EQ("The raster ends before the image's row 1", image.Failure(kWhole));
}

std::string ReasonOf(const HdfRecords& records) {
  return ExactHdf(records.Build()).Reason();
}

TEST(HdfExact, RefusesWithASentenceWhatItCannotServe) {
  const Bytes six = {1, 2, 3, 4, 5, 6};
  const auto base = [] { return HdfRecords().AddNumberType(21); };
  EXPECT_EQ("The file has no raster image and no data set", ReasonOf(base()));
  EXPECT_EQ("Not supported: a file of 2 images and data sets", ReasonOf(base().AddImage().AddDataSet()));
  EXPECT_EQ("Not supported: a compressed image", ReasonOf(base().AddImage(1, 11).Add(kCoded, 2, six)));
  EXPECT_EQ("Not supported: pixels that are compressed, in chunks or in another file",
            ReasonOf(base().AddImage().Add(kRaster | 0x4000, 2, six)));
  EXPECT_EQ("Not supported: pixels that are compressed, in chunks or in another file",
            ReasonOf(base().AddDataSet().Add(kSamples | 0x4000, 2, six)));
  EXPECT_EQ("Not supported: an image of 3 samples a pixel", ReasonOf(base().AddImage(3).Add(kRaster, 2, six)));
  EXPECT_EQ("Not supported: a data set of 3 dimensions", ReasonOf(base().AddDataSet(3).Add(kSamples, 2, six)));
  EXPECT_EQ("The file has no pixels of its image", ReasonOf(base().AddImage()));
  const auto numbers = [&](int code, int way) {
    return ReasonOf(HdfRecords().AddNumberType(code, way).AddImage().Add(kRaster, 2, six));
  };
  EXPECT_EQ("Not supported: numbers of type 26 and class 1", numbers(26, 1));
  EXPECT_EQ("Not supported: numbers of type 22 and class 2", numbers(22, 2));
  EXPECT_EQ("The type of the numbers is missing", ReasonOf(HdfRecords().AddImage().Add(kRaster, 2, six)));
  EXPECT_EQ("Not a valid HDF4 file", ExactHdf({1, 2, 3, 4}).Reason());
}

TEST(HdfExact, SurvivesFlippedBytes) {
  const Bytes raster(24, 7);
  const Bytes bytes = HdfRecords().AddNumberType(24).AddDataSet().Add(kSamples, 2, raster).Build();
  FlipBytes(bytes, TrialCount(2000, 300), {0, bytes.size()}, [](const Bytes& damaged) {
    ExactHdf image(damaged);
    if (!image.IsOpen()) {
      EXPECT_NE("", image.Reason());
      return;
    }
    const Window whole{0, std::min(image.Band().GetXSize(), 50) - 1, 0, std::min(image.Band().GetYSize(), 50) - 1};
    EXPECT_NE("no reason", image.Failure(whole));
  });
}

}  // namespace
