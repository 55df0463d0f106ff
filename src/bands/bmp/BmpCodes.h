#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace zrk {

/// The run-length codes of a bitmap of 4 or 8 bits, which give one index a pixel. Where each row's codes begin is found
/// once, and any row can then be decoded by itself. Constant afterwards, for any number of threads.
class BmpCodes {
 public:
  enum class Row {
    kWhole,
    kMissing,  ///< the codes end before it
    kBroken    ///< a run passes the end of the row, or the codes end within it
  };

  BmpCodes(std::vector<unsigned char> codes, int bits, int width, int height);

  /// Decodes part of a row, which is counted from the bottom: as many pixels from column `x0` on as there is room for.
  /// Pixels that no code names have index 0. Codes are looked at up to the end of the row.
  Row Decode(int row, int x0, std::span<unsigned char> indexes) const;

 private:
  struct Start {
    int row = 0;
    std::int64_t x = 0;
    std::size_t code = 0;
  };
  enum class Kind { kRun, kPlain, kEndOfRow, kEndOfImage, kDelta, kNone };
  struct Code {
    Kind kind = Kind::kNone;
    std::size_t count = 0;   // of pixels
    std::size_t values = 0;  // where theirs stand; of a delta, where its two bytes do
    std::size_t next = 0;
  };

  Code CodeAt(std::size_t at) const;
  void FindRows(int height);
  void Paint(const Code& code, std::int64_t x, std::span<unsigned char> indexes) const;

  std::vector<unsigned char> codes_;
  bool areNibbles_;
  std::int64_t width_;
  bool isEnded_ = false;       // by the code for it
  int lastRow_ = 0;            // that codes come to
  std::vector<Start> starts_;  // from the bottom up; rows between two of them have no codes
};

}  // namespace zrk
