// Tiny TIFF files. `Build` lays them out byte by byte, in either order and in both sizes of offsets; `Encode` has
// libtiff write them, for codes that take more than a builder. Samples follow from their position, so that a test knows
// each of them without reading the file.

#include "TiffBuilder.h"

#include "TiffMemory.h"

#include <algorithm>
#include <bit>
#include <string>
#include <utility>

namespace {

enum FieldType { kText = 2, kShort = 3, kLong = 4, kRational = 5, kDouble = 12, kLong8 = 16 };

int BytesOfType(int type) {
  switch (type) {
    case kShort:
    case 8:
      return 2;
    case kLong:
    case kRational:
    case 9:
    case 11:
      return 4;
    case kDouble:
    case kLong8:
      return 8;
    default:
      return 1;
  }
}

void Put(std::vector<unsigned char>& bytes, std::uint64_t value, int numBytes, bool bigEndian) {
  for (int i = 0; i < numBytes; ++i) {
    const int shift = 8 * (bigEndian ? numBytes - 1 - i : i);
    bytes.push_back(static_cast<unsigned char>(value >> shift));
  }
}

unsigned char ReverseBits(unsigned char byte) {
  unsigned reversed = 0;
  for (int i = 0; i < 8; ++i) reversed |= (byte >> i & 1u) << (7 - i);
  return static_cast<unsigned char>(reversed);
}

}  // namespace

std::uint64_t TiffBuilder::AnyPixel(int x, int y, int sample) {
  std::uint64_t value = static_cast<std::uint64_t>(x) * 0x9E3779B97F4A7C15u +
                        static_cast<std::uint64_t>(y) * 0xC2B2AE3D27D4EB4Fu +
                        static_cast<std::uint64_t>(sample) * 0x165667B19E3779F9u + 0x27D4EB2F165667C5u;
  value = (value ^ value >> 29) * 0xBF58476D1CE4E5B9u;
  value = (value ^ value >> 32) * 0x94D049BB133111EBu;
  return value ^ value >> 31;
}

TiffBuilder& TiffBuilder::Size(int width, int height) {
  width_ = width;
  height_ = height;
  return *this;
}

TiffBuilder& TiffBuilder::Strips(int rows) {
  rowsPerStrip_ = rows;
  return *this;
}

TiffBuilder& TiffBuilder::Tiles(int width, int height) {
  tileWidth_ = width;
  tileHeight_ = height;
  return *this;
}

TiffBuilder& TiffBuilder::Bits(int bits) {
  bits_ = bits;
  return *this;
}

TiffBuilder& TiffBuilder::Format(int format) {
  format_ = format;
  return *this;
}

TiffBuilder& TiffBuilder::Samples(int samples) {
  samples_ = samples;
  return *this;
}

TiffBuilder& TiffBuilder::Planar() {
  isPlanar_ = true;
  return *this;
}

TiffBuilder& TiffBuilder::Photometric(int photometric) {
  photometric_ = photometric;
  return *this;
}

TiffBuilder& TiffBuilder::ColourMap(std::vector<std::uint16_t> components) {
  colourMap_ = std::move(components);
  return *this;
}

TiffBuilder& TiffBuilder::BigEndian() {
  isBigEndian_ = true;
  return *this;
}

TiffBuilder& TiffBuilder::BigTiff() {
  isBigTiff_ = true;
  return *this;
}

TiffBuilder& TiffBuilder::LowBitFirst() {
  isLowBitFirst_ = true;
  return *this;
}

TiffBuilder& TiffBuilder::Pixel(PixelFunction pixel) {
  pixel_ = std::move(pixel);
  return *this;
}

TiffBuilder& TiffBuilder::Compression(int compression) {
  compression_ = compression;
  return *this;
}

TiffBuilder& TiffBuilder::Predictor(int predictor) {
  predictor_ = predictor;
  return *this;
}

TiffBuilder& TiffBuilder::Sparse(int block) {
  return Block(block, {});
}

TiffBuilder& TiffBuilder::Block(int block, Bytes bytes) {
  blocks_[block] = std::move(bytes);
  return *this;
}

TiffBuilder& TiffBuilder::ByteCounts(int count) {
  numByteCounts_ = count;
  return *this;
}

TiffBuilder& TiffBuilder::Claim(std::uint32_t width, std::uint32_t height) {
  return Tag(256, kLong, {width}).Tag(257, kLong, {height});
}

TiffBuilder& TiffBuilder::Tag(int number, int type, std::vector<std::uint64_t> values) {
  extra_[number] = {type, std::move(values)};
  return *this;
}

TiffBuilder& TiffBuilder::Reals(int number, const std::vector<double>& values) {
  std::vector<std::uint64_t> bits;
  for (const double value : values) bits.push_back(std::bit_cast<std::uint64_t>(value));
  return Tag(number, kDouble, bits);
}

TiffBuilder& TiffBuilder::Text(int number, const std::string& text) {
  std::vector<std::uint64_t> bytes;
  for (const char each : text) bytes.push_back(static_cast<unsigned char>(each));
  bytes.push_back(0);
  return Tag(number, kText, bytes);
}

TiffBuilder& TiffBuilder::Without(int tag) {
  without_.push_back(tag);
  return *this;
}

TiffBuilder& TiffBuilder::Next(const TiffBuilder& directory) {
  directories_.push_back(directory);
  return *this;
}

int TiffBuilder::GetBlockHeight() const {
  if (tileHeight_) return tileHeight_;
  return rowsPerStrip_ ? std::min(rowsPerStrip_, height_) : height_;
}

std::uint64_t TiffBuilder::ValueAt(int x, int y, int sample) const {
  const std::uint64_t value = pixel_(x, y, sample);
  return bits_ < 64 ? value & ((std::uint64_t{1} << bits_) - 1) : value;
}

bool TiffBuilder::LiesInWords() const {
  return bits_ == 8 || bits_ == 16 || bits_ == 32 || bits_ == 64 || bits_ == 128 || (bits_ == 24 && format_ == 3);
}

int TiffBuilder::NumWords() const {
  return bits_ == 128 || format_ == 5 || format_ == 6 ? 2 : 1;
}

/// `bitsUsed` are those of the last byte that hold something, 0 where it is full.
void TiffBuilder::AppendSample(Bytes& bytes, int& bitsUsed, int x, int y, int sample, bool bigEndian) const {
  if (bits_ == 128) {
    for (int word = 0; word < 2; ++word) Put(bytes, pixel_(x, y, 2 * sample + word), 8, bigEndian);
  } else if (LiesInWords()) {
    const int wordBits = bits_ / NumWords();
    for (int word = 0; word < NumWords(); ++word) {
      Put(bytes, ValueAt(x, y, sample) >> (word * wordBits), wordBits / 8, bigEndian);
    }
  } else {
    for (int bit = bits_ - 1; bit >= 0; --bit) {
      if (bitsUsed == 0) bytes.push_back(0);
      const auto set = static_cast<unsigned>(bit < 64 ? pixel_(x, y, sample) >> bit & 1u : 0u);
      bytes.back() = static_cast<unsigned char>(bytes.back() | set << (7 - bitsUsed));
      bitsUsed = (bitsUsed + 1) % 8;
    }
  }
}

TiffBuilder::Bytes TiffBuilder::PackBlock(int block, bool bigEndian) const {
  const int perPlane = BlocksAcross() * BlocksDown();
  const int plane = block / perPlane;
  const int left = block % perPlane % BlocksAcross() * GetBlockWidth();
  const int top = block % perPlane / BlocksAcross() * GetBlockHeight();
  const int rows = tileHeight_ ? tileHeight_ : std::min(GetBlockHeight(), height_ - top);
  Bytes bytes;
  for (int y = top; y < top + rows; ++y) {
    int bitsUsed = 0;
    for (int x = left; x < left + GetBlockWidth(); ++x) {
      if (isPlanar_) {
        AppendSample(bytes, bitsUsed, x, y, plane, bigEndian);
      } else {
        for (int sample = 0; sample < samples_; ++sample) AppendSample(bytes, bitsUsed, x, y, sample, bigEndian);
      }
    }
  }
  return bytes;
}

TiffBuilder::Bytes TiffBuilder::BytesOfBlock(int block) const {
  const auto own = blocks_.find(block);
  if (own != blocks_.end()) return own->second;
  Bytes bytes = PackBlock(block, isBigEndian_);
  if (isLowBitFirst_) std::ranges::transform(bytes, bytes.begin(), ReverseBits);
  return bytes;
}

/// All but the tables of the blocks.
std::map<int, TiffBuilder::Entry> TiffBuilder::MakeEntries() const {
  const auto number = [](int value) { return std::vector<std::uint64_t>{static_cast<std::uint64_t>(value)}; };
  const std::vector<std::uint64_t> bits(static_cast<std::size_t>(samples_), static_cast<std::uint64_t>(bits_));
  const std::vector<std::uint64_t> formats(static_cast<std::size_t>(samples_), static_cast<std::uint64_t>(format_));
  std::map<int, Entry> entries = {{256, {kLong, number(width_)}},
                                  {257, {kLong, number(height_)}},
                                  {258, {kShort, bits}},
                                  {259, {kShort, number(compression_)}},
                                  {262, {kShort, number(photometric_)}},
                                  {277, {kShort, number(samples_)}},
                                  {284, {kShort, number(isPlanar_ + 1)}},
                                  {339, {kShort, formats}}};
  if (tileWidth_) {
    entries[322] = {kLong, number(tileWidth_)};
    entries[323] = {kLong, number(tileHeight_)};
  } else if (rowsPerStrip_) {
    entries[278] = {kLong, number(rowsPerStrip_)};
  }
  if (isLowBitFirst_) entries[266] = {kShort, number(2)};
  if (!colourMap_.empty()) entries[320] = {kShort, {colourMap_.begin(), colourMap_.end()}};
  return entries;
}

/// Lays directory after directory: its blocks, the directory, the values that don't fit into it.
class TiffBuilder::Writer {
 public:
  explicit Writer(const TiffBuilder& file) : isBigEndian_(file.isBigEndian_), isBigTiff_(file.isBigTiff_) {
    bytes_.assign(2, isBigEndian_ ? 'M' : 'I');
    Put(isBigTiff_ ? 43 : 42, 2);
    if (isBigTiff_) {
      Put(8, 2);
      Put(0, 2);
    }
    nextPlace_ = bytes_.size();
    Put(0, OffsetBytes());
  }

  void Add(const TiffBuilder& directory) {
    std::map<int, Entry> entries = directory.MakeEntries();
    AddBlocks(directory, entries);
    for (const auto& [number, entry] : directory.extra_) entries[number] = entry;
    for (const int number : directory.without_) entries.erase(number);
    Align();
    PatchOffset(nextPlace_, bytes_.size());
    AddDirectory(entries);
  }

  Bytes Take() { return std::move(bytes_); }

 private:
  int OffsetBytes() const { return isBigTiff_ ? 8 : 4; }
  void Put(std::uint64_t value, int numBytes) { ::Put(bytes_, value, numBytes, isBigEndian_); }
  void Align() { bytes_.resize((bytes_.size() + 7) / 8 * 8); }
  void PatchOffset(std::size_t place, std::uint64_t offset) {
    Bytes patch;
    ::Put(patch, offset, OffsetBytes(), isBigEndian_);
    std::ranges::copy(patch, bytes_.begin() + static_cast<std::ptrdiff_t>(place));
  }

  void AddBlocks(const TiffBuilder& directory, std::map<int, Entry>& entries) {
    std::vector<std::uint64_t> offsets, counts;
    for (int block = 0; block < directory.NumBlocks(); ++block) {
      Align();
      const Bytes content = directory.BytesOfBlock(block);
      offsets.push_back(content.empty() ? 0 : bytes_.size());
      counts.push_back(content.size());
      bytes_.insert(bytes_.end(), content.begin(), content.end());
    }
    if (directory.numByteCounts_ >= 0) counts.resize(static_cast<std::size_t>(directory.numByteCounts_));
    const int type = isBigTiff_ ? kLong8 : kLong;
    entries[directory.tileWidth_ ? 324 : 273] = {type, offsets};
    entries[directory.tileWidth_ ? 325 : 279] = {type, counts};
  }

  void AddDirectory(const std::map<int, Entry>& entries) {
    std::vector<std::pair<std::size_t, const Entry*>> elsewhere;
    Put(entries.size(), isBigTiff_ ? 8 : 2);
    for (const auto& [number, entry] : entries) {
      Put(static_cast<std::uint64_t>(number), 2);
      Put(static_cast<std::uint64_t>(entry.type), 2);
      Put(entry.values.size() / (entry.type == kRational ? 2 : 1), OffsetBytes());
      const std::size_t place = bytes_.size();
      if (entry.values.size() * static_cast<std::size_t>(BytesOfType(entry.type)) >
          static_cast<std::size_t>(OffsetBytes())) {
        elsewhere.emplace_back(place, &entry);
      } else {
        PutValues(entry);
      }
      bytes_.resize(place + static_cast<std::size_t>(OffsetBytes()));
    }
    nextPlace_ = bytes_.size();
    Put(0, OffsetBytes());
    for (const auto& [place, entry] : elsewhere) {
      Align();
      PatchOffset(place, bytes_.size());
      PutValues(*entry);
    }
  }

  void PutValues(const Entry& entry) {
    for (const std::uint64_t value : entry.values) Put(value, BytesOfType(entry.type));
  }

  bool isBigEndian_;
  bool isBigTiff_;
  std::size_t nextPlace_ = 0;
  Bytes bytes_;
};

TiffBuilder::Bytes TiffBuilder::Build() const {
  Writer writer(*this);
  writer.Add(*this);
  for (const TiffBuilder& directory : directories_) writer.Add(directory);
  return writer.Take();
}

void TiffBuilder::SetTags(TIFF* tiff) const {
  const auto set = [tiff](int tag, auto... values) { TIFFSetField(tiff, static_cast<ttag_t>(tag), values...); };
  set(256, width_);
  set(257, height_);
  set(258, bits_);
  set(339, format_);
  set(277, samples_);
  set(284, isPlanar_ ? 2 : 1);
  set(262, photometric_);
  set(259, compression_);
  if (isLowBitFirst_) set(266, 2);
  if (predictor_ != 1) set(317, predictor_);
  if (photometric_ == PHOTOMETRIC_YCBCR) {
    if (compression_ == COMPRESSION_JPEG) {
      set(TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    } else {
      set(TIFFTAG_YCBCRSUBSAMPLING, 1, 1);
    }
  }
  if (!colourMap_.empty()) {
    const std::uint16_t* map = colourMap_.data();
    const std::size_t entries = colourMap_.size() / 3;
    set(320, map, map + entries, map + 2 * entries);
  }
  if (tileWidth_) {
    set(322, tileWidth_);
    set(323, tileHeight_);
  } else {
    set(278, GetBlockHeight());
  }
}

void TiffBuilder::EncodeBlock(TIFF* tiff, int block) const {
  const auto own = blocks_.find(block);
  const auto number = static_cast<std::uint32_t>(block);
  if (own != blocks_.end()) {
    Bytes raw = own->second;
    const auto size = static_cast<tmsize_t>(raw.size());
    if (!raw.empty() && tileWidth_) TIFFWriteRawTile(tiff, number, raw.data(), size);
    if (!raw.empty() && !tileWidth_) TIFFWriteRawStrip(tiff, number, raw.data(), size);
    return;
  }
  Bytes bytes = PackBlock(block, std::endian::native == std::endian::big);
  const auto size = static_cast<tmsize_t>(bytes.size());
  if (tileWidth_) {
    TIFFWriteEncodedTile(tiff, number, bytes.data(), size);
  } else {
    TIFFWriteEncodedStrip(tiff, number, bytes.data(), size);
  }
}

TiffBuilder::Bytes TiffBuilder::Encode() const {
  Bytes file;
  const std::string mode = std::string("w") + (isBigEndian_ ? "b" : "l") + (isBigTiff_ ? "8" : "4");
  const TiffPointer tiff = OpenTiffInMemory(file, mode);
  if (!tiff) return {};
  SetTags(tiff.get());
  for (int block = 0; block < NumBlocks(); ++block) EncodeBlock(tiff.get(), block);
  return TIFFFlush(tiff.get()) ? file : Bytes();
}
