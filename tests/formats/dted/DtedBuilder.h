#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

/// The height that says that a post is unknown.
inline constexpr int kUnknownHeight = -32767;

/// What a word of sign and magnitude stands for, written down once more.
inline int HeightOfWord(int word) {
  return word < 0x8000 ? word : 0x8000 - word;
}

/// Builds elevation cells byte by byte: `DtedBuilder().Size(7, 5).Build()`. The cell reaches from 35 to 36 degrees
/// north and from 138 to 139 degrees east unless told otherwise. Words are numbered from the west and from the south.
class DtedBuilder {
 public:
  using WordFunction = std::function<std::uint16_t(int line, int point)>;

  /// Words of all signs, none of them beyond what stands for a height.
  static std::uint16_t AnyWord(int line, int point) {
    const int magnitude = (line * 37 + point * 101) % 9000;
    return static_cast<std::uint16_t>(magnitude | ((line + point) % 3 == 0 ? 0x8000 : 0));
  }

  DtedBuilder& Size(int lines, int points);
  /// 0, or 1 for a label "HDR", or 2 for one "VOL" and one "HDR" before the cell.
  DtedBuilder& Labels(int numLabels);
  /// Latitudes as "350000N", longitudes as "1380000E".
  DtedBuilder& Corners(const std::string& south, const std::string& west, const std::string& north,
                       const std::string& east);
  DtedBuilder& Datum(const std::string& datum);
  /// The four digits of lines and points; those of the size unless set.
  DtedBuilder& Claim(const std::string& lines, const std::string& points);
  /// Text at a place of the file, written last.
  DtedBuilder& Put(std::size_t offset, const std::string& text);
  DtedBuilder& Words(WordFunction word);

  std::vector<unsigned char> Build() const;
  /// Where the first column begins.
  std::size_t HeaderBytes() const { return 3428 + 80 * static_cast<std::size_t>(numLabels_); }
  std::size_t ColumnBytes() const { return 12 + 2 * static_cast<std::size_t>(points_); }

 private:
  void WriteColumn(int line, std::vector<unsigned char>& bytes) const;

  int lines_ = 7;
  int points_ = 5;
  int numLabels_ = 0;
  std::string south_ = "350000N", west_ = "1380000E", north_ = "360000N", east_ = "1390000E";
  std::string datum_ = "WGS84";
  std::string claimedLines_, claimedPoints_;
  std::vector<std::pair<std::size_t, std::string>> texts_;
  WordFunction word_ = &AnyWord;
};
