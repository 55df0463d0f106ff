#include "RpfFrameBuilder.h"

#include <utility>

namespace {

/// The subheader of an image of 1536 x 1536 that is compressed by vector quantisation, with the fields that no reader
/// needs left blank. Its three tables of 216 colours are black: the frame's own take their place.
std::string MakeImageSubheader() {
  const std::string blank(252, ' ');
  std::string text = "IMCADRG     00000000000000" + blank.substr(0, 97) + "U" + blank.substr(0, 166) + "0";
  text += blank.substr(0, 42) + "0000153600001536" + "INT" + "RGB/LUT MAP     08RN0" + "C40.67";
  text += "1LU      N   300216" + std::string(3 * 216, '\0') + "0B0006000602560256";
  text += "0800100000000000001.0 ";
  return text;
}

}  // namespace

std::set<int> RpfFrameBuilder::AllButOne() {
  std::set<int> subframes;
  for (int i = 0; i < 35; ++i) subframes.insert(i);
  return subframes;
}

RpfFrameBuilder& RpfFrameBuilder::LittleEndian() {
  littleEndian_ = true;
  return *this;
}

RpfFrameBuilder& RpfFrameBuilder::Plain() {
  isPlain_ = true;
  return *this;
}

RpfFrameBuilder& RpfFrameBuilder::ColorTable(int id, int numEntries, int entryBytes) {
  colorTable_ = id;
  numEntries_ = numEntries;
  entryBytes_ = entryBytes;
  return *this;
}

RpfFrameBuilder& RpfFrameBuilder::Histogram(int recordBytes) {
  histogramBytes_ = recordBytes;
  return *this;
}

RpfFrameBuilder& RpfFrameBuilder::Absent(const std::set<int>& subframes, int recordBytes) {
  hasMask_ = true;
  absent_ = subframes;
  maskRecordBytes_ = recordBytes;
  return *this;
}

RpfFrameBuilder& RpfFrameBuilder::Transparent(int code) {
  transparent_ = code;
  return *this;
}

RpfFrameBuilder& RpfFrameBuilder::AllPixels(unsigned char value) {
  allPixels_ = value;
  return *this;
}

RpfFrameBuilder& RpfFrameBuilder::OneLookupTable() {
  hasOneTable_ = true;
  return *this;
}

RpfFrameBuilder& RpfFrameBuilder::LookupRecords(int count) {
  lookupRecords_ = count;
  return *this;
}

RpfFrameBuilder& RpfFrameBuilder::LookupIds(const std::array<int, 4>& ids) {
  lookupIds_ = ids;
  return *this;
}

RpfFrameBuilder& RpfFrameBuilder::Coverage(const std::array<double, 12>& values) {
  coverage_ = values;
  return *this;
}

RpfFrameBuilder& RpfFrameBuilder::Gap(std::size_t bytes) {
  gap_ = bytes;
  return *this;
}

RpfFrameBuilder& RpfFrameBuilder::Without(int id) {
  without_.insert(id);
  return *this;
}

RpfFrameBuilder& RpfFrameBuilder::Replace(int id, std::vector<unsigned char> bytes) {
  replaced_[id] = std::move(bytes);
  return *this;
}

unsigned char RpfFrameBuilder::PixelAt(int x, int y) const {
  if (IsAbsent(x, y)) return 0;
  if (!isPlain_) return TablePixel(hasOneTable_ ? 0 : y % 4, CodeAt(x / 4, y / 4), x % 4);
  return allPixels_ >= 0 ? static_cast<unsigned char>(allPixels_) : PlainPixel(x, y);
}

RpfBytes RpfFrameBuilder::MakeCompression() const {
  return Bytes().U16(1).U16(static_cast<std::uint32_t>(lookupRecords_)).U16(0);
}

RpfBytes RpfFrameBuilder::MakeLookup() const {
  const int numTables = hasOneTable_ ? 1 : 4;
  RpfBytes section = Bytes().U32(6).U16(14);
  for (std::uint32_t i = 0; i < 4; ++i) {
    section.U16(static_cast<std::uint32_t>(lookupIds_[i])).U32(4096).U16(4).U16(8);
    section.U32(6 + 4 * 14 + (hasOneTable_ ? 0 : i * 16384));
  }
  for (int i = 0; i < numTables; ++i) {
    for (unsigned code = 0; code < 4096; ++code) {
      for (int pixel = 0; pixel < 4; ++pixel) {
        section.U8(TablePixel(lookupIds_[static_cast<std::size_t>(i)] - 1, code, pixel));
      }
    }
  }
  return section;
}

/// The first table, then its histogram, then a record of a second one.
RpfBytes RpfFrameBuilder::MakeColors() const {
  const auto entries = static_cast<std::uint32_t>(numEntries_);
  const std::uint32_t tableBytes = entries * static_cast<std::uint32_t>(entryBytes_);
  RpfBytes section = Bytes().U32(6).U16(17);
  section.U16(static_cast<std::uint32_t>(colorTable_)).U32(entries).U8(static_cast<std::uint32_t>(entryBytes_));
  section.U16(static_cast<std::uint32_t>(histogramBytes_)).U32(40);
  section.U32(histogramBytes_ ? 40 + tableBytes : 0xFFFFFFFF);
  section.U16(1).U32(1).U8(3).U16(4).U32(40).U32(40);
  for (int i = 0; i < numEntries_; ++i) {
    for (int plane = 0; plane < entryBytes_; ++plane) section.U8(Color(plane, i));
  }
  for (int i = 0; histogramBytes_ && i < numEntries_; ++i) section.U32(static_cast<std::uint32_t>(Count(i)));
  return section;
}

/// The offsets of the masks are counted in the mask subsection: subframes behind its 7 bytes, transparency behind 36
/// records of the other.
RpfBytes RpfFrameBuilder::MakeDescription() const {
  RpfBytes section = Bytes().U16(1).U16(36).U16(1).U16(1).U16(6).U16(6).U32(256).U32(256);
  section.U32(hasMask_ ? 7 : 0xFFFFFFFF);
  section.U32(transparent_ >= 0 ? 7 + 36 * static_cast<std::uint32_t>(maskRecordBytes_) : 0xFFFFFFFF);
  return section;
}

RpfBytes RpfFrameBuilder::MakeMasks() const {
  const auto step = static_cast<std::size_t>(maskRecordBytes_);
  RpfBytes section = Bytes().U16(static_cast<std::uint32_t>(step)).U16(4).U16(8);
  section.U8(transparent_ >= 0 ? static_cast<std::uint32_t>(transparent_) : 0);
  std::uint32_t offset = 0;
  for (int i = 0; i < 36; ++i) {
    section.U32(absent_.count(i) ? 0xFFFFFFFF : offset).Zeros(step - 4);
    if (!absent_.count(i)) offset += SubframeBytes();
  }
  for (std::uint32_t i = 0; i < 36; ++i) section.U32(5 * i);
  return section;
}

RpfBytes RpfFrameBuilder::MakeSpatial() const {
  RpfBytes section = Bytes();
  for (int i = 0; i < 36; ++i) {
    if (absent_.count(i)) continue;
    const int x0 = i % 6 * 256, y0 = i / 6 * 256;
    if (isPlain_) {
      for (int k = 0; k < 65536; ++k) section.U8(PixelAt(x0 + k % 256, y0 + k / 256));
      continue;
    }
    for (int k = 0; k < 64 * 64; k += 2) {
      const unsigned first = CodeAt(x0 / 4 + k % 64, y0 / 4 + k / 64);
      const unsigned second = CodeAt(x0 / 4 + k % 64 + 1, y0 / 4 + k / 64);
      section.U8(first >> 4).U8((first & 15) << 4 | second >> 8).U8(second & 255);
    }
  }
  return section;
}

RpfBuilder RpfFrameBuilder::MakeFile() const {
  RpfBuilder file;
  if (littleEndian_) file.LittleEndian();
  if (!isPlain_) file.Image(MakeImageSubheader());
  file.Gap(gap_);
  const auto add = [&](int id, const RpfBytes& bytes) {
    if (without_.count(id)) return;
    const auto replaced = replaced_.find(id);
    file.Component(id, replaced == replaced_.end() ? bytes.Get() : replaced->second);
  };
  RpfBytes coverage = Bytes();
  for (const double value : coverage_) coverage.F64(value);
  add(0x82, coverage);
  add(0x86, Bytes().U8(2).U8(3).Zeros(12));
  add(0x87, MakeColors());
  if (!isPlain_) add(0x83, MakeCompression());
  if (!isPlain_) add(0x84, MakeLookup());
  add(0x88, MakeDescription());
  add(0x89, Bytes().U32(isPlain_ ? 256 : 64).U32(isPlain_ ? 256 : 64).U8(isPlain_ ? 8 : 12));
  if (hasMask_ || transparent_ >= 0) add(0x8A, MakeMasks());
  add(0x8C, MakeSpatial());
  return file;
}
