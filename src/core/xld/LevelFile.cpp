#include "core/xld/LevelFile.h"

#include "base/Cursor.h"
#include "base/LittleEndian.h"
#include "XLimits.h"

#include <algorithm>
#include <string>

namespace zrk {
namespace {

/// The first bytes of every level file, the offset of the text being behind them.
constexpr std::array<unsigned char, 4> kMark = {'X', 'L', 'D', '.'};

}  // namespace

std::array<unsigned char, 12> FormatLevelHead(std::int64_t textOffset) {
  std::array<unsigned char, 12> head{};
  std::ranges::copy(kMark, head.begin());
  std::ranges::copy(LittleEndian(textOffset), head.begin() + kMark.size());
  return head;
}

/// A disk that gives fewer bytes than the file has is told from a file that ends early: the first may serve again, the
/// second never will. The mark is looked at before the length, so that a short file of another kind counts as foreign.
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

/// The text reaches to the end of the file. Its size is compared with the limit before memory is taken for it.
XString ReadLevelText(XFile& file, std::int64_t textOffset) {
  if (textOffset < kLevelHeadBytes) return "";
  const std::int64_t size = file.GetLength() - textOffset;
  if (size <= 0 || size > XfnGetLimits().xmlBytes) return "";
  std::string text(static_cast<std::size_t>(size), '\0');
  if (file.ReadAt(textOffset, text.data(), size) != size) return "";
  return text;
}

}  // namespace zrk
