#include "output/SampleSink.h"
#include "PngReader.h"
#include "TempFolder.h"
#include "XDataType.h"

#include <gtest/gtest.h>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

template <class Sample>
void Fill(tagXArr2& rows, int width, int height, const std::vector<Sample>& samples) {
  rows.Alloc(width, height, sizeof(Sample));
  std::memcpy(rows.data, samples.data(), samples.size() * sizeof(Sample));
}

template <class Sample>
std::string PrintTable(int dataType, int width, int height, const std::vector<Sample>& samples) {
  char* text = nullptr;
  std::size_t size = 0;
  std::FILE* out = open_memstream(&text, &size);
  const std::unique_ptr<SampleSink> sink = MakeTableSink(dataType, out);
  tagXArr2 rows;
  Fill(rows, width, height, samples);
  std::string err;
  EXPECT_TRUE(sink->Begin(width, height, err) && sink->Take(rows, err) && sink->End(err));
  std::fclose(out);
  const std::string printed(text, size);
  std::free(text);  // NOLINT: the stream allocates it
  return printed;
}

TEST(TableSink, AlignsColumns) {
  EXPECT_EQ("  1  20\n300   4\n", PrintTable<std::uint16_t>(kPint16, 2, 2, {1, 20, 300, 4}));
  EXPECT_EQ("-128  127\n", PrintTable<std::int8_t>(kSint08, 2, 1, {-128, 127}));
  EXPECT_EQ("255   0\n", PrintTable<std::uint8_t>(kPint08, 2, 1, {255, 0}));
}

TEST(TableSink, WritesNumbersInFull) {
  EXPECT_EQ("4294967295\n", PrintTable<std::uint32_t>(kPint32, 1, 1, {4294967295u}));
  EXPECT_EQ("-2147483648\n", PrintTable<std::int32_t>(kSint32, 1, 1, {INT32_MIN}));
  EXPECT_EQ(" 0.1\n-2.5\n", PrintTable<float>(kReal32, 1, 2, {0.1f, -2.5f}));
  EXPECT_EQ("0.30000000000000004              1e+300\n", PrintTable<double>(kReal64, 2, 1, {0.1 + 0.2, 1e300}));
}

TEST(TableSink, RefusesTypesWithoutNumbers) {
  std::string err;
  EXPECT_FALSE(MakeTableSink(9, stdout)->Begin(1, 1, err));
  EXPECT_EQ("samples of this data type can't be printed", err);
}

TEST(PngSink, SixteenBitsKeepTheirValues) {
  const TempFolder folder;
  OutputFile output;
  std::string err;
  ASSERT_TRUE(output.Open(folder.Path("a.png"), "", err));
  const std::unique_ptr<SampleSink> sink = MakePngSink(output, 16);
  tagXArr2 rows;
  Fill<std::uint16_t>(rows, 2, 2, {1, 256, 65535, 4660});
  ASSERT_TRUE(sink->Begin(2, 2, err) && sink->Take(rows, err) && sink->End(err) && output.Commit(err));
  const DecodedPng image = DecodePng(folder.Path("a.png"));
  EXPECT_EQ(16, image.bits);
  EXPECT_EQ(1, image.At(0, 0, 0));
  EXPECT_EQ(256, image.At(1, 0, 0));
  EXPECT_EQ(65535, image.At(0, 1, 0));
  EXPECT_EQ(0x1234, image.At(1, 1, 0));
}

TEST(PngSink, FewerRowsThanPromisedFail) {
  const TempFolder folder;
  OutputFile output;
  std::string err;
  ASSERT_TRUE(output.Open(folder.Path("a.png"), "", err));
  const std::unique_ptr<SampleSink> sink = MakePngSink(output, 8);
  ASSERT_TRUE(sink->Begin(2, 2, err));
  EXPECT_FALSE(sink->End(err));
  EXPECT_FALSE(err.empty());
}

}  // namespace
