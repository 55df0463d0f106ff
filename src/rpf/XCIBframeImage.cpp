// The image of a frame. Its subframes are found first, in the head of the file or behind it, and then painted: as codes
// into an image that the frame keeps, or through its colours into planes of somebody else.

#include "base/PixelStorage.h"
#include "rpf/FramePaint.h"
#include "rpf/RpfBlocks.h"
#include "XCIBframe.h"

#include <algorithm>
#include <cstring>
#include <numeric>

namespace {

enum Section {
  kImageDescription = 0x88,
  kImageDisplay = 0x89,
  kMask = 0x8A,
  kSpatialData = 0x8C,
};

constexpr int kDescriptionBytes = 28;
constexpr int kDisplayBytes = 9;
constexpr int kMaskHeadBytes = 7;
constexpr int kCompressedBits = 12;
constexpr unsigned kNoTransparentCode = 999;

void TakeOffsets(zrk::RpfBlocks::Bytes bytes, std::int64_t step, bool littleEndian, std::span<std::int32_t> offsets) {
  for (std::size_t i = 0; i < offsets.size(); ++i) {
    offsets[i] = XCIBbase::ReadUnsigned(bytes.data() + i * static_cast<std::size_t>(step), 4, littleEndian);
  }
}

/// What the transparent code leaves of each code.
zrk::FrameMap MakeCodeMap(unsigned transparentCode) {
  zrk::FrameMap map;
  std::iota(map.begin(), map.end(), static_cast<unsigned char>(0));
  if (transparentCode < map.size()) map[transparentCode] = 0;
  return map;
}

}  // namespace

int XCIBframe::ReadImageSection(XFile* file, const unsigned char* buffer, int bytes) {
  const tagComponentRPF* description = FindComponent(kImageDescription);
  const tagComponentRPF* display = FindComponent(kImageDisplay);
  if (!description || !display) return 0;
  zrk::RpfBlocks blocks(file, buffer, bytes);
  if (!ReadDescription(blocks, description->offset)) return 0;
  unsigned transparentCode = kNoTransparentCode;
  const bool hasMasks = description_.subframeMaskOffset != -1 || description_.transparencyMaskOffset != -1;
  if (hasMasks && !ReadMasks(blocks, transparentCode)) return 0;

  const zrk::RpfBlocks::Bytes record = blocks.Read(display->offset, kDisplayBytes);
  if (record.empty()) return 0;
  zrk::RpfFields fields(record, IsLittleEndian());
  display_.imageRows = fields.U32();
  display_.codesPerRow = fields.U32();
  display_.elementBits = fields.U8();
  return display_.elementBits == kCompressedBits ? LoadCompressedImageData(file, transparentCode, buffer, bytes)
                                                 : LoadUncompressedImageData(file, transparentCode, buffer, bytes);
}

bool XCIBframe::ReadDescription(zrk::RpfBlocks& blocks, std::int64_t offset) {
  const zrk::RpfBlocks::Bytes record = blocks.Read(offset, kDescriptionBytes);
  if (record.empty()) return false;
  zrk::RpfFields fields(record, IsLittleEndian());
  for (int* value : {&description_.spectralGroups, &description_.subframeTables, &description_.spectralBandTables,
                     &description_.spectralBandLines, &description_.subframesAcross, &description_.subframesDown}) {
    *value = fields.U16();
  }
  for (int* value : {&description_.subframeColumns, &description_.subframeRows, &description_.subframeMaskOffset,
                     &description_.transparencyMaskOffset}) {
    *value = fields.U32();
  }
  return true;
}

bool XCIBframe::ReadMasks(zrk::RpfBlocks& blocks, unsigned& transparentCode) {
  const tagComponentRPF* section = FindComponent(kMask);
  if (!section) return false;
  const std::int64_t mask = section->offset;
  const zrk::RpfBlocks::Bytes record = blocks.Read(mask, kMaskHeadBytes);
  if (record.empty()) return false;
  zrk::RpfFields fields(record, IsLittleEndian());
  const std::int64_t subframeStep = fields.U16();
  const std::int64_t transparencyStep = fields.U16();
  fields.U16();  // the bits of the transparent code
  transparentCode = static_cast<unsigned>(fields.U8());

  const auto tableBytes = [](std::int64_t step) { return (kNumSubframes - 1) * step + 4; };
  if (description_.subframeMaskOffset != -1) {
    const auto table = blocks.Read(mask + description_.subframeMaskOffset, tableBytes(subframeStep));
    if (table.empty()) return false;
    TakeOffsets(table, subframeStep, IsLittleEndian(), subframeOffsets_);
    hasSubframeMask_ = true;
  }
  if (description_.transparencyMaskOffset != -1) {
    // In the head of the file the table is looked for behind 36 records, wherever it says that it stands. Nothing is
    // decoded by it.
    auto table = blocks.FindInHead(mask + kNumSubframes * transparencyStep, tableBytes(transparencyStep));
    if (table.empty()) table = blocks.Read(mask + description_.transparencyMaskOffset, tableBytes(transparencyStep));
    if (table.empty()) return false;
    TakeOffsets(table, transparencyStep, IsLittleEndian(), transparencyOffsets_);
    hasTransparencyMask_ = true;
  }
  return true;
}

int XCIBframe::LoadCompressedImageData(XFile* file, unsigned transparentCode, const unsigned char* buffer, int bytes) {
  const tagComponentRPF* spatial = FindComponent(kSpatialData);
  if (!spatial || tables_.empty()) return 0;
  zrk::RpfBlocks blocks(file, buffer, bytes);
  zrk::FrameSubframes subframes(/*areCompressed=*/true);
  const bool areFound = hasSubframeMask_ ? FindSubframes(blocks, spatial->offset, subframes)
                                         : FindWholeImage(blocks, spatial->offset, subframes);
  return areFound ? Paint(subframes, transparentCode) : 0;
}

int XCIBframe::LoadUncompressedImageData(XFile* file, unsigned transparentCode, const unsigned char* buffer,
                                         int bytes) {
  const tagComponentRPF* spatial = FindComponent(kSpatialData);
  if (!spatial) return 0;
  zrk::RpfBlocks blocks(file, buffer, bytes);
  zrk::FrameSubframes subframes(/*areCompressed=*/false);
  return FindSubframes(blocks, spatial->offset, subframes) ? Paint(subframes, transparentCode) : 0;
}

/// A frame whose subframes all follow one another is read at once. Behind the end of the file its codes are 0, but with
/// not even one subframe in the head of a file that has no more it is none.
bool XCIBframe::FindWholeImage(const zrk::RpfBlocks& blocks, std::int64_t offset,
                               zrk::FrameSubframes& subframes) const {
  constexpr std::size_t kBytes = zrk::kSubframes * zrk::kCompressedSubframe;
  const unsigned char* whole = blocks.FindInHead(offset, kBytes).data();
  if (!whole) {
    unsigned char* const work = subframes.Slot(0);
    if (blocks.HasFile()) {
      blocks.ReadFromFile(offset, {work, kBytes});
    } else {
      const zrk::RpfBlocks::Bytes rest = blocks.HeadFrom(offset);
      if (rest.size() < zrk::kCompressedSubframe) return false;
      std::ranges::copy(rest, work);
    }
    whole = work;
  }
  for (std::size_t i = 0; i < zrk::kSubframes; ++i) subframes.at[i] = whole + i * zrk::kCompressedSubframe;
  return true;
}

/// A compressed subframe that is cut short has codes of 0 behind its end; one of plain pixels is left out.
bool XCIBframe::FindSubframes(zrk::RpfBlocks& blocks, std::int64_t offset, zrk::FrameSubframes& subframes) const {
  const auto count = static_cast<std::int64_t>(subframes.bytes);
  for (std::size_t i = 0; i < zrk::kSubframes; ++i) {
    if (hasSubframeMask_ && subframeOffsets_[i] == -1) continue;
    const std::int64_t at = offset + (hasSubframeMask_ ? subframeOffsets_[i] : static_cast<std::int64_t>(i) * count);
    subframes.at[i] = blocks.FindInHead(at, count).data();
    if (subframes.at[i]) continue;
    if (!blocks.HasFile()) {
      if (hasSubframeMask_) return false;
      continue;
    }
    unsigned char* const slot = subframes.Slot(i);
    const std::int64_t numRead = blocks.ReadFromFile(at, {slot, subframes.bytes});
    if (subframes.isCompressed || numRead == count) subframes.at[i] = slot;
  }
  return true;
}

int XCIBframe::Paint(const zrk::FrameSubframes& subframes, unsigned transparentCode) {
  return planes_ ? PaintColors(subframes, transparentCode) : PaintCodes(subframes, transparentCode);
}

int XCIBframe::PaintCodes(const zrk::FrameSubframes& subframes, unsigned transparentCode) {
  if (!image_->Reserve(zrk::kFramePixels)) return 0;
  const zrk::FrameMap codes = MakeCodeMap(transparentCode);
  const zrk::FrameMap* const map = transparentCode < codes.size() ? &codes : nullptr;
  PaintPlane(subframes, map, image_->Get());
  rows_.resize(kSide);
  for (std::size_t row = 0; row < rows_.size(); ++row) rows_[row] = image_->Get() + row * zrk::kFrameSide;
  return 1;
}

int XCIBframe::PaintColors(const zrk::FrameSubframes& subframes, unsigned transparentCode) {
  const auto numPlanes = static_cast<std::size_t>(GetNumChannels());
  if (!planes_->Reserve(numPlanes * zrk::kFramePixels)) return 0;
  const zrk::FrameMap codes = MakeCodeMap(transparentCode);
  for (std::size_t plane = 0; plane < numPlanes; ++plane) {
    zrk::FrameMap map;
    std::ranges::transform(codes, map.begin(),
                           [&](unsigned char code) { return code < kNumColors ? colors_[plane][code] : 0; });
    PaintPlane(subframes, &map, planes_->Get() + plane * zrk::kFramePixels);
  }
  return 1;
}

void XCIBframe::PaintPlane(const zrk::FrameSubframes& subframes, const zrk::FrameMap* map, unsigned char* plane) const {
  if (subframes.isCompressed) {
    zrk::PaintCompressed(subframes, tables_.data(), map, plane);
  } else {
    zrk::PaintPlain(subframes, map, plane);
  }
}

void XCIBframe::DecompressData(unsigned char* dest, const unsigned char* codes, const unsigned char* table,
                               int column) {
  zrk::DecodeRow(codes, table, dest + column);
}

void XCIBframe::GetSperatedValue(const unsigned char* bytes, int& first, int& second) {
  const zrk::CodePair codes = zrk::SplitCodes(bytes);
  first = static_cast<int>(codes.first);
  second = static_cast<int>(codes.second);
}
