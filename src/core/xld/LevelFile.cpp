#include "core/xld/LevelFile.h"

#include "base/Cursor.h"
#include "base/LittleEndian.h"
#include "XLimits.h"

#include <algorithm>
#include <string>

namespace zrk {
namespace {

constexpr std::array<unsigned char, 4> kMark = {'X', 'L', 'D', '.'};

}  // namespace

std::array<unsigned char, 12> FormatLevelHead(std::int64_t textOffset) {
  std::array<unsigned char, 12> head{};
  std::ranges::copy(kMark, head.begin());
  std::ranges::copy(LittleEndian(textOffset), head.begin() + kMark.size());
  return head;
}

LevelHead ReadLevelHead(XFile& file, std::int64_t& textOffset) {
  std::array<unsigned char, 12> head{};
  const std::int64_t length = file.GetLength(), got = file.ReadAt(0, head.data(), kLevelHeadBytes);
  if (length < 0 || (got < kLevelHeadBytes && got < length)) return LevelHead::kUnreadable;
  if (got < 4) return LevelHead::kShort;
  Cursor cursor(head);
  if (!std::ranges::equal(cursor.Bytes(kMark.size()), kMark)) return LevelHead::kForeign;
  if (got < kLevelHeadBytes) return LevelHead::kShort;
  textOffset = cursor.I64LE();
  return LevelHead::kGood;
}

XString ReadLevelText(XFile& file, std::int64_t textOffset) {
  if (textOffset < kLevelHeadBytes) return "";
  const std::int64_t size = file.GetLength() - textOffset;
  if (size <= 0 || size > XfnGetLimits().xmlBytes) return "";
  std::string text(static_cast<std::size_t>(size), '\0');
  if (file.ReadAt(textOffset, text.data(), size) != size) return "";
  return text;
}

}  // namespace zrk
