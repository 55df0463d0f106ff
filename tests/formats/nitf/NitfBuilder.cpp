#include "NitfBuilder.h"

#include <bit>
#include <cstdint>

namespace {

/// A number in so many digits, or a text with blanks behind it.
std::string Field(int number, std::size_t digits) {
  const std::string text = std::to_string(number);
  return std::string(digits - text.size(), '0') + text;
}

std::string Field(const std::string& text, std::size_t length) {
  std::string field = text;
  field.resize(length, ' ');
  return field;
}

/// The security fields, of which only the letter and the code for a downgrading event are filled.
std::string Security(char letter, bool isDowngraded) {
  std::string security = Field(std::string(1, letter), 167);
  if (isDowngraded) security.replace(161, 6, "999998");
  return isDowngraded ? security + Field("A downgrading event", 40) : security;
}

void AddBytes(std::uint64_t value, int bits, NitfBuilder::Bytes& data) {
  for (int shift = bits - 8; shift >= 0; shift -= 8) data.push_back(static_cast<unsigned char>(value >> shift));
}

/// The header of an image of one pixel, with that behind it.
std::string OnePixel(const std::string& header) {
  return header + std::string(1, '\x7F');
}

}  // namespace

std::string NitfBuilder::MakeHeader(const std::string& image) const {
  std::string header = version_ + "03BF01" + Field("Station", 10) + "20260101000000" + Field(title_, 80);
  header += Security(classification_[0], isDowngraded_) + "0000000000" + "0" + Field("", 3 + 24 + 18) + Field("", 12);
  const std::string further = NitfBuilder().Size(1, 1).MakeImageHeader();
  std::string lists = Field(1 + numFurtherImages_, 3) + Field(static_cast<int>(MakeImageHeader().size()), 6);
  lists += Field(static_cast<int>(image.size()), 10);
  for (int i = 0; i < numFurtherImages_; ++i) lists += Field(static_cast<int>(further.size()), 6) + Field(1, 10);
  lists += "000000" + Field(numTexts_, 3);
  for (int i = 0; i < numTexts_; ++i) lists += Field(282, 4) + Field(1, 5);
  lists += "000000" + Field(0, 5) + Field(0, 5);
  return header + Field(static_cast<int>(header.size() + 6 + lists.size()), 6) + lists;
}

std::string NitfBuilder::MakeImageHeader() const {
  std::string header = "IM" + Field("Image1", 10) + "20260101000000" + Field("", 17) + Field("The image", 80);
  header += Security(classification_[1], isDowngraded_) + "0" + Field("", 42) + Field(height_, 8) + Field(width_, 8);
  header += Field(kind_, 3) + Field(representation_, 8) + Field("VIS", 8) + Field(bits_, 2) + "R";
  const bool isOld = version_ == "NITF02.00";
  header += corners_.empty() ? (isOld ? "N" : " ") : corners_;
  header += Field(numComments_, 1);
  for (int i = 0; i < numComments_; ++i) header += Field("A comment", 80);
  header += compression_;
  if (compression_ != "NC" && compression_ != "NM") header += "00.0";
  header += numBands_ < 10 ? Field(numBands_, 1) : "0" + Field(numBands_, 5);
  for (int i = 0; i < numBands_; ++i) {
    const char* const names[] = {"R ", "G ", "B "};
    const bool isColour = representation_ == "RGB" && i < 3;
    header += (isColour ? names[i] : "M ") + Field("", 6) + "N" + Field("", 3) + (numEntries_ > 0 ? "3" : "0");
    if (numEntries_ == 0) continue;
    header += Field(numEntries_, 5);
    for (int e = 0; e < numEntries_; ++e) header += static_cast<char>(e);
    for (int e = 0; e < numEntries_; ++e) header += static_cast<char>(2 * e);
    for (int e = 0; e < numEntries_; ++e) header += static_cast<char>(255 - e);
  }
  header += std::string("0") + mode_ + Field(CountAcross(), 4) + Field(CountDown(), 4) + Field(BlockWidth(), 4);
  header += Field(BlockHeight(), 4) + Field(bits_, 2) + "001" + "000" + "0000000000" + "1.0 " + "00000" + "00000";
  return header;
}

void NitfBuilder::AddSample(int x, int y, int band, Bytes& data) const {
  const bool isInside = x < width_ && y < height_;
  const int value = isInside ? Value(x, y, band) : 0;
  if (kind_ == "R" && bits_ == 32) return AddBytes(std::bit_cast<std::uint32_t>(static_cast<float>(value)), 32, data);
  if (kind_ == "R") return AddBytes(std::bit_cast<std::uint64_t>(static_cast<double>(value)), 64, data);
  if (kind_ == "C") {
    AddBytes(std::bit_cast<std::uint32_t>(static_cast<float>(value)), 32, data);
    return AddBytes(std::bit_cast<std::uint32_t>(static_cast<float>(-value)), 32, data);
  }
  AddBytes(static_cast<std::uint64_t>(value), bits_, data);
}

/// Block by block, from left to right and from top to bottom; band by band around them for the mode S.
NitfBuilder::Bytes NitfBuilder::MakeData() const {
  if (!data_.empty()) return data_;
  Bytes data;
  const int numBlocks = CountAcross() * CountDown(), numRounds = mode_ == 'S' ? numBands_ : 1;
  for (int i = 0; i < numBlocks * numRounds; ++i) {
    const int block = i % numBlocks, left = block % CountAcross() * BlockWidth(),
              top = block / CountAcross() * BlockHeight();
    if (block == missingBlock_) continue;
    const auto add = [&](int x, int y, int band) { AddSample(left + x, top + y, band, data); };
    const int first = mode_ == 'S' ? i / numBlocks : 0, last = mode_ == 'S' ? first : numBands_ - 1;
    const bool isByBlock = mode_ == 'B' || mode_ == 'S', isByRow = mode_ == 'R';
    for (int outer = isByBlock ? first : 0; outer <= (isByBlock ? last : 0); ++outer) {
      for (int y = 0; y < BlockHeight(); ++y) {
        for (int row = isByRow ? first : 0; row <= (isByRow ? last : 0); ++row) {
          for (int x = 0; x < BlockWidth(); ++x) {
            if (isByBlock) add(x, y, outer);
            if (isByRow) add(x, y, row);
            for (int band = first; mode_ == 'P' && band <= last; ++band) add(x, y, band);
          }
        }
      }
    }
  }
  return data;
}

NitfBuilder::Bytes NitfBuilder::Build() const {
  const Bytes data = MakeData();
  std::string image(data.begin(), data.end());
  if (missingBlock_ >= 0) {
    // The offset of the data, the lengths of an entry and of the pad value in bits, the value, and an offset a block.
    const int numBlocks = CountAcross() * CountDown();
    Bytes table;
    AddBytes(static_cast<std::uint64_t>(11 + 4 * numBlocks), 32, table);
    for (const std::uint64_t length : {4, 0, 8}) AddBytes(length, 16, table);
    AddBytes(static_cast<std::uint64_t>(padValue_), 8, table);
    const int blockBytes = BlockWidth() * BlockHeight();
    for (int i = 0, kept = 0; i < numBlocks; ++i) {
      AddBytes(i == missingBlock_ ? 0xFFFFFFFF : static_cast<std::uint64_t>(blockBytes * kept++), 32, table);
    }
    image.insert(image.begin(), table.begin(), table.end());
  }
  std::string file = MakeHeader(image) + MakeImageHeader() + image;
  for (int i = 0; i < numFurtherImages_; ++i) file += OnePixel(NitfBuilder().Size(1, 1).MakeImageHeader());
  for (int i = 0; i < numTexts_; ++i) file += Field("TE", 282) + "t";
  return {file.begin(), file.end()};
}
