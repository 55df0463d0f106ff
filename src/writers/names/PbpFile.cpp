#include "writers/names/PbpFile.h"

#include "base/Disk.h"
#include "XFile.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

namespace zrk {

std::shared_ptr<const PbpFile> PbpFile::Open(const XString& path) {
  XFile file;
  if (!file.Open(path, XFile::kRead)) throw PbpFault("Can't open file: " + file.GetLastErrorText().AsStdString());
  std::array<unsigned char, kPbpHeadBytes> bytes{};
  const std::int64_t numRead = file.ReadAt(0, bytes.data(), kPbpHeadBytes);
  const auto head = ParsePbpHead(std::span(bytes).first(static_cast<std::size_t>(numRead)));
  if (!head) throw PbpFault("The file is no PBP file");
  if (head->count < 0) throw PbpFault("The header claims " + std::to_string(head->count) + " places");
  return std::make_shared<const PbpFile>(file.GetDiskFile(), *head);
}

XString PbpFile::FindWrongLength() const {
  const std::int64_t length = file_->Size(), wanted = PbpFileBytes(head_.count);
  if (length == wanted) return {};
  return "The file has " + std::to_string(length) + " bytes, and its " + std::to_string(head_.count) + " places need " +
         std::to_string(wanted);
}

void PbpFile::Read(std::int64_t offset, void* buffer, std::int64_t count) const {
  if (file_->ReadAt(offset, buffer, count) != count) throw PbpFault("The file can't be read");
}

void PbpFile::RequireNumber(std::int32_t number) const {
  if (number >= 0 && number < head_.count) return;
  throw PbpFault("A table names the place " + std::to_string(number) + ", and there are " +
                 std::to_string(head_.count));
}

void PbpFile::ReadRecords(std::int64_t first, std::span<tagPName> records) const {
  Read(PbpRecordOffset(first), records.data(), static_cast<std::int64_t>(records.size_bytes()));
}

PbpPoint PbpFile::ReadPoint(std::int64_t number) const {
  PbpPoint point;
  Read(PbpRecordOffset(number), &point, sizeof point);
  return point;
}

tagXPlace PbpFile::ReadPlace(int number) const {
  tagPName record;
  ReadRecords(number, {&record, 1});
  const std::string_view name(record.name, tagPName::kNameBytes);
  return {number, record.first, record.second, XString(name.substr(0, name.find('\0'))), 0.0};
}

void PbpFile::ReadTable(PbpAxis axis, std::int64_t firstRank, std::span<std::int32_t> numbers) const {
  Read(PbpRankOffset(head_.count, axis, firstRank), numbers.data(), static_cast<std::int64_t>(numbers.size_bytes()));
}

int PbpFile::ReadNumber(PbpAxis axis, std::int64_t rank) const {
  std::int32_t number = 0;
  ReadTable(axis, rank, {&number, 1});
  RequireNumber(number);
  return number;
}

}  // namespace zrk
