// The headers of NITF files (MIL-STD-2500) and NSIF files are text in fields of fixed length. The file header begins
// with its version and ends with lists of segments: images, graphics, labels, texts and extensions, each with the
// lengths of its header and its data. The segments follow in the same order.
//
// An older layout has 40 more bytes behind a security field that says 999998. The file header of the oldest version has
// them always.
// Numbers are decimal. Some of the fields of an image's header exist only where a field before them says so.

#include "codec/NitfHeader.h"

#include "base/Cursor.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace zrk {

namespace {

constexpr std::size_t kVersionBytes = 9, kSecurityBytes = 167, kDowngradeOffset = 161, kDowngradeBytes = 40;
constexpr std::size_t kFileSecurity = 119;      // where the security fields of the file begin
constexpr std::size_t kFileHeaderLength = 354;  // the length of the header, without a downgrading event
constexpr std::string_view kDowngrade = "999998";

/// Text without the blanks behind it.
XString Trimmed(std::string_view text) {
  const std::size_t last = text.find_last_not_of(std::string_view(" \0", 2));
  return last == std::string_view::npos ? XString() : XString(std::string(text.substr(0, last + 1)));
}

bool IsNitf(std::string_view version) {
  return version.size() == kVersionBytes && (version.starts_with("NITF") || version.starts_with("NSIF"));
}

/// Only versions of NITF are old. The numbers of NSIF count anew.
bool IsOldVersion(std::string_view version) {
  return version.starts_with("NITF01") || version.starts_with("NITF02.0");
}

/// Whether the security fields that begin there have a downgrading event behind them.
bool HasDowngrade(std::span<const unsigned char> bytes, std::size_t security, std::string_view version) {
  Cursor cursor(bytes);
  cursor.Seek(security + kDowngradeOffset);
  return IsOldVersion(version) && cursor.Text(kDowngrade.size()) == kDowngrade;
}

/// A cursor in front of the field with the length of the file header; one that has failed for any other file.
Cursor AtHeaderLength(std::span<const unsigned char> head) {
  Cursor cursor(head);
  const std::string_view version = cursor.Text(kVersionBytes);
  const bool isLong = version.starts_with("NITF01") || HasDowngrade(head, kFileSecurity, version);
  cursor.Seek(IsNitf(version) ? kFileHeaderLength + (isLong ? kDowngradeBytes : 0) : head.size());
  return cursor;
}

/// A list of segments: their number, and of each the lengths of its header and of its data.
std::vector<NitfSegment> TakeList(Cursor& cursor, std::size_t headerDigits, std::size_t dataDigits) {
  std::vector<NitfSegment> list;
  const std::int64_t count = cursor.Number(3);
  for (std::int64_t i = 0; i < count && !cursor.HasFailed(); ++i) {
    const std::int64_t headerBytes = cursor.Number(headerDigits);
    list.push_back({0, headerBytes, cursor.Number(dataDigits)});
  }
  return list;
}

/// Steps over the bands of an image, of which only the length of their tables matters here.
void SkipBands(Cursor& cursor, std::int64_t numBands) {
  constexpr std::size_t kBeforeTables = 12;  // what the band shows, and a filter
  for (std::int64_t i = 0; i < numBands && !cursor.HasFailed(); ++i) {
    cursor.Skip(kBeforeTables);
    const std::int64_t numTables = cursor.Number(1);
    const std::int64_t entries = numTables > 0 ? cursor.Number(5) : 0;
    cursor.Skip(static_cast<std::size_t>(numTables * std::max<std::int64_t>(entries, 0)));
  }
}

void TakeBlocks(Cursor& cursor, NitfImage& image) {
  cursor.Skip(1);
  const std::string_view mode = cursor.Text(1);
  if (!mode.empty()) image.mode = mode.front();
  image.blocksAcross = cursor.Number(4);
  image.blocksDown = cursor.Number(4);
  image.blockWidth = cursor.Number(4);
  image.blockHeight = cursor.Number(4);
  image.numBits = static_cast<int>(cursor.Number(2));
  if (image.blockWidth == 0) image.blockWidth = image.width;
  if (image.blockHeight == 0) image.blockHeight = image.height;
}

/// The letter for coordinates that are not there is N in old versions and a blank later on.
void TakeCorners(Cursor& cursor, bool isOld, NitfImage& image) {
  constexpr std::size_t kCornerBytes = 60;
  const std::string_view letter = cursor.Text(1);
  if (letter.empty() || letter.front() == (isOld ? 'N' : ' ')) return;
  image.coordinates = letter.front();
  image.corners = XString(std::string(cursor.Text(kCornerBytes)));
}

/// Degrees, minutes and seconds with a letter behind them, as 425958N; nothing where the text is no such number.
std::optional<double> ParseSexagesimal(std::string_view text, char negative) {
  int value = 0;
  const std::string_view digits = text.substr(0, text.size() - 1);
  const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (result.ec != std::errc() || result.ptr != digits.data() + digits.size()) return std::nullopt;
  const double degrees = value / 10000 + value / 100 % 100 / 60.0 + value % 100 / 3600.0;
  return text.back() == negative ? -degrees : degrees;
}

/// Degrees with a sign, as +42.999; nothing where the text is no such number.
std::optional<double> ParseDecimal(std::string_view text) {
  double degrees = 0.0;
  if (text.starts_with('+')) text.remove_prefix(1);
  const auto result = std::from_chars(text.data(), text.data() + text.size(), degrees);
  if (result.ec != std::errc() || result.ptr != text.data() + text.size()) return std::nullopt;
  return degrees;
}

}  // namespace

bool NitfHeader::IsOld() const {
  return IsOldVersion(version);
}

bool BeginsAsNitf(std::span<const unsigned char> head) {
  const std::string_view magic = Cursor(head).Text(4);
  return magic == "NITF" || magic == "NSIF";
}

std::optional<std::int64_t> CountNitfHeaderBytes(std::span<const unsigned char> head) {
  Cursor cursor = AtHeaderLength(head);
  const std::int64_t count = cursor.Number(6);
  return cursor.HasFailed() ? std::nullopt : std::optional(count);
}

std::optional<int> CountNitfImages(std::span<const unsigned char> head) {
  Cursor cursor = AtHeaderLength(head);
  cursor.Skip(6);
  const std::int64_t count = cursor.Number(3);
  return cursor.HasFailed() ? std::nullopt : std::optional(static_cast<int>(count));
}

bool ParseNitfHeader(std::span<const unsigned char> bytes, NitfHeader& header) {
  constexpr std::size_t kTitleOffset = 39, kTitleBytes = 80;
  Cursor cursor(bytes);
  header.version = XString(std::string(cursor.Text(kVersionBytes)));
  cursor.Seek(kTitleOffset);
  header.title = Trimmed(cursor.Text(kTitleBytes));
  header.classification = Trimmed(cursor.Text(1));
  cursor = AtHeaderLength(bytes);
  std::int64_t offset = cursor.Number(6);
  header.images = TakeList(cursor, 6, 10);
  header.numGraphics = static_cast<int>(TakeList(cursor, 4, 6).size());
  header.numLabels = static_cast<int>(TakeList(cursor, 4, 3).size());
  header.numTexts = static_cast<int>(TakeList(cursor, 4, 5).size());
  header.numExtensions = static_cast<int>(TakeList(cursor, 4, 9).size());
  header.numReserved = static_cast<int>(TakeList(cursor, 4, 7).size());
  for (NitfSegment& image : header.images) {
    image.offset = offset;
    offset += image.headerBytes + image.dataBytes;
  }
  return !cursor.HasFailed();
}

bool ParseNitfImage(std::span<const unsigned char> bytes, const NitfHeader& header, NitfImage& image) {
  constexpr std::size_t kBeforeTitle = 43, kTitleBytes = 80, kSecurity = 123, kSource = 1 + 42;
  Cursor cursor(bytes);
  if (cursor.Text(2) != "IM") return false;
  image.id = Trimmed(cursor.Text(10));
  cursor.Seek(kBeforeTitle);
  image.title = Trimmed(cursor.Text(kTitleBytes));
  image.classification = Trimmed(cursor.Text(1));
  cursor.Skip(kSecurityBytes - 1 + kSource);
  if (HasDowngrade(bytes, kSecurity, header.version)) cursor.Skip(kDowngradeBytes);
  image.height = cursor.Number(8);
  image.width = cursor.Number(8);
  image.kind = Trimmed(cursor.Text(3));
  image.representation = Trimmed(cursor.Text(8));
  image.category = Trimmed(cursor.Text(8));
  cursor.Skip(3);
  TakeCorners(cursor, header.IsOld(), image);
  constexpr std::int64_t kCommentBytes = 80;
  cursor.Skip(static_cast<std::size_t>(std::max<std::int64_t>(cursor.Number(1), 0) * kCommentBytes));
  image.compression = Trimmed(cursor.Text(2));
  const bool isPlain = image.compression == "NC" || image.compression == "NM";
  if (!isPlain) image.rate = Trimmed(cursor.Text(4));
  image.numBands = cursor.Number(1);
  if (image.numBands == 0 && !header.IsOld()) image.numBands = cursor.Number(5);
  SkipBands(cursor, image.numBands);
  TakeBlocks(cursor, image);
  return !cursor.HasFailed();
}

std::optional<std::array<double, 8>> ParseNitfCorners(const NitfImage& image) {
  constexpr std::size_t kCornerBytes = 15, kLatitudeBytes = 7;
  const bool isDecimal = image.coordinates == 'D';
  if (!isDecimal && image.coordinates != 'G' && image.coordinates != 'C') return std::nullopt;
  if (image.corners.size() != 4 * kCornerBytes) return std::nullopt;
  std::array<double, 8> corners{};
  for (std::size_t i = 0; i < 4; ++i) {
    const std::string_view corner = std::string_view(image.corners).substr(i * kCornerBytes, kCornerBytes);
    const std::string_view north = corner.substr(0, kLatitudeBytes), east = corner.substr(kLatitudeBytes);
    const auto latitude = isDecimal ? ParseDecimal(north) : ParseSexagesimal(north, 'S');
    const auto longitude = isDecimal ? ParseDecimal(east) : ParseSexagesimal(east, 'W');
    if (!latitude || !longitude) return std::nullopt;
    corners[2 * i] = *longitude;
    corners[2 * i + 1] = *latitude;
  }
  return corners;
}

}  // namespace zrk
