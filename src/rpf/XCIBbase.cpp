#include "XCIBbase.h"

#include "base/Fence.h"
#include "rpf/NitfWalk.h"
#include "rpf/RpfBlocks.h"
#include "XFile.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <vector>

namespace {

constexpr int kMagicBytes = 4;
constexpr int kHeaderBytes = 48;
constexpr int kLocationBytes = 14;
constexpr int kComponentBytes = 10;
constexpr int kRecordsPerRead = 200;

}  // namespace

struct XCIBbase::State {
  XString path;
  bool littleEndian = false;
  std::int32_t rpfHeaderOffset = -1;
  std::int32_t locationOffset = -1;
  tagHeaderSectionRPF header;
  std::vector<tagComponentRPF> components;
};

XCIBbase::XCIBbase() : state_(std::make_unique<State>()) {}
XCIBbase::~XCIBbase() = default;

const tagHeaderSectionRPF& XCIBbase::GetHeaderSection() const {
  return state_->header;
}

XString XCIBbase::GetFilePath() const {
  return state_->path;
}

bool XCIBbase::IsLittleEndian() const {
  return state_->littleEndian;
}

void XCIBbase::Reset() {
  *state_ = {};
}

int XCIBbase::OpenHeaders(const XString& path, unsigned char* buffer, int bufferSize, int& bytesRead) {
  return zrk::FencedRead([&] {
    bytesRead = 0;
    XFile file;
    if (!file.Open(path, XFile::kRead | XFile::kShareDenyNone)) return 0;
    std::array<unsigned char, kMagicBytes> magic;
    const bool hasBuffer = buffer && bufferSize > kMagicBytes;
    unsigned char* const head = hasBuffer ? buffer : magic.data();
    bytesRead = static_cast<int>(file.Read(head, hasBuffer ? bufferSize : kMagicBytes));
    if (bytesRead < kMagicBytes || std::memcmp(head, "NITF", kMagicBytes) != 0) return 0;

    state_->path = path;
    const std::int32_t found = FindRPFHeaderOffset(&file, head, bytesRead);
    state_->rpfHeaderOffset = found == -1 ? 0 : found;
    if (!ReadHeaderSection(&file, head, bytesRead)) return 0;
    state_->locationOffset = state_->header.locationSectionOffset;
    return ReadLocationSection(&file, head, bytesRead);
  });
}

std::int32_t XCIBbase::FindRPFHeaderOffset(XFile* file, const unsigned char* buffer, int bytes) const {
  return zrk::FindRpfHeader(file, buffer, bytes);
}

int XCIBbase::ReadHeaderSection(XFile* file, const unsigned char* buffer, int bytes) {
  return zrk::FencedRead([&] {
    zrk::RpfBlocks blocks(file, buffer, bytes);
    const zrk::RpfBlocks::Bytes record = blocks.Read(state_->rpfHeaderOffset, kHeaderBytes);
    if (record.empty()) return 0;
    state_->littleEndian = record[0] == 0xFF;
    zrk::RpfFields fields(record, state_->littleEndian);
    state_->header.endianIndicator = static_cast<unsigned char>(fields.U8());
    state_->header.headerSectionLength = fields.U16();
    fields.Text(state_->header.fileName);
    state_->header.updateIndicator = static_cast<char>(fields.U8());
    fields.Text(state_->header.standardNumber);
    fields.Text(state_->header.standardDate);
    fields.Text(state_->header.classification);
    fields.Text(state_->header.country);
    fields.Text(state_->header.releaseMarking);
    state_->header.locationSectionOffset = fields.U32();
    return 1;
  });
}

int XCIBbase::ReadLocationSection(XFile* file, const unsigned char* buffer, int bytes) {
  return zrk::FencedRead([&] {
    state_->components.clear();
    zrk::RpfBlocks blocks(file, buffer, bytes);
    const zrk::RpfBlocks::Bytes section = blocks.Read(state_->locationOffset, kLocationBytes);
    if (section.empty()) return 0;
    zrk::RpfFields fields(section.subspan(2), state_->littleEndian);
    const std::int64_t table = std::int64_t{state_->locationOffset} + fields.U32();
    const std::int64_t numRecords = fields.U16();
    const std::int64_t recordBytes = fields.U16();

    for (std::int64_t first = 0; first < numRecords; first += kRecordsPerRead) {
      const std::int64_t count = std::min<std::int64_t>(kRecordsPerRead, numRecords - first);
      const zrk::RpfBlocks::Bytes run =
          blocks.Read(table + first * recordBytes, (count - 1) * recordBytes + kComponentBytes);
      if (run.empty()) return 0;
      for (std::int64_t i = 0; i < count; ++i) {
        zrk::RpfFields record(run.subspan(static_cast<std::size_t>(i * recordBytes)), state_->littleEndian);
        const std::int32_t id = record.U16();
        const std::int32_t length = record.U32();
        state_->components.push_back({id, length, record.U32()});
      }
    }
    return 1;
  });
}

const tagComponentRPF* XCIBbase::FindComponent(int id) const {
  const auto found = std::find_if(state_->components.rbegin(), state_->components.rend(),
                                  [id](const tagComponentRPF& component) { return component.id == id; });
  return found == state_->components.rend() ? nullptr : &*found;
}

std::int32_t XCIBbase::ReadUnsigned(const unsigned char* bytes, int width, bool littleEndian) {
  std::uint32_t value = 0;
  for (int i = 0; i < width; ++i) value = value << 8 | bytes[littleEndian ? width - 1 - i : i];
  return static_cast<std::int32_t>(value);
}

double XCIBbase::ReadDouble(const unsigned char* bytes, bool littleEndian) {
  std::uint64_t value = 0;
  for (int i = 0; i < 8; ++i) value = value << 8 | bytes[littleEndian ? 7 - i : i];
  return std::bit_cast<double>(value);
}
