#include "codec/JpegEncoder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

namespace {

/// The pixels of a file as red, green, blue, by libjpeg itself.
std::vector<unsigned char> DecodeColours(const std::vector<unsigned char>& file, int& width, int& height) {
  jpeg_decompress_struct decoder;
  jpeg_error_mgr errors;
  decoder.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&decoder);
  jpeg_mem_src(&decoder, file.data(), static_cast<unsigned long>(file.size()));
  jpeg_read_header(&decoder, TRUE);
  jpeg_start_decompress(&decoder);
  width = static_cast<int>(decoder.output_width);
  height = static_cast<int>(decoder.output_height);
  std::vector<unsigned char> pixels(static_cast<std::size_t>(width * height * 3));
  while (decoder.output_scanline < decoder.output_height) {
    unsigned char* row = pixels.data() + static_cast<std::size_t>(decoder.output_scanline) * width * 3;
    jpeg_read_scanlines(&decoder, &row, 1);
  }
  jpeg_finish_decompress(&decoder);
  jpeg_destroy_decompress(&decoder);
  return pixels;
}

TEST(JpegEncoder, KeepsColoursAndTheOrderOfRows) {
  // The upper half is of one colour and the lower half of another; rows lie from the bottom up.
  std::vector<unsigned char> pixels;
  for (int i = 0; i < 32 * 32; ++i) {
    const bool isUpper = i >= 16 * 32;
    for (const int byte : {isUpper ? 10 : 200, 100, isUpper ? 220 : 30})
      pixels.push_back(static_cast<unsigned char>(byte));
  }
  std::vector<unsigned char> file;
  XString err;
  ASSERT_TRUE(zrk::EncodeJpeg({pixels.data() + 31 * 96, -96, 32, 32}, 90, file, err));
  int width = 0, height = 0;
  const std::vector<unsigned char> decoded = DecodeColours(file, width, height);
  ASSERT_EQ(32, width);
  ASSERT_EQ(32, height);
  EXPECT_NEAR(220, decoded[0], 3);
  EXPECT_NEAR(100, decoded[1], 3);
  EXPECT_NEAR(10, decoded[2], 3);
  EXPECT_NEAR(30, decoded[31 * 96], 3);
  EXPECT_NEAR(200, decoded[31 * 96 + 2], 3);
}

TEST(JpegEncoder, TellsInWordsWhatItCannotMake) {
  const unsigned char pixel[3] = {};
  std::vector<unsigned char> file{1};
  XString err;
  EXPECT_FALSE(zrk::EncodeJpeg({pixel, 0, 70000, 1}, 90, file, err));
  EXPECT_EQ(XString("Maximum supported image dimension is 65500 pixels"), err);
  EXPECT_FALSE(zrk::EncodeJpeg({nullptr, 0, 1, 1}, 90, file, err));
  EXPECT_EQ(XString("There are no pixels to encode"), err);
  EXPECT_EQ(1u, file.size());
}

}  // namespace
