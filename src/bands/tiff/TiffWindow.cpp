// A window is put together block by block. The positions x0 + i * 2^n and y0 + j * 2^n of the image tell which samples
// of the result come out of a block, and where they land. Within the block, samples are taken from where the window
// enters it, which is 0 in every block but the first. They are not taken from where the positions lie: the phase of the
// sampling begins anew at each seam, as the users of these levels know it.
//
// A block that can't be read, or that the file leaves out, takes no room in its row of blocks. The blocks behind it
// move up, and the end of the row is 0. The rows of the result stay in place.
//
// Exact reads go another way, which begins here.

#include "bands/tiff/TiffWindow.h"

#include "bands/tiff/TiffExactWindow.h"
#include "XThread.h"

#include <cstring>

namespace zrk {
namespace {

class WindowReader {
 public:
  WindowReader(TiffDecoder& decoder, const ReadRequest& request, std::span<const TiffTarget> targets)
      : tags_(decoder.GetSource().layout.tags), request_(request), pieces_(decoder, request, targets) {}

  bool Read(const int* cancel) {
    const int blockHeight = static_cast<int>(tags_.blockHeight);
    for (int by = request_.y0 / blockHeight; by <= request_.y1 / blockHeight; ++by) {
      const TiffShare rows = FindTiffShare(by, blockHeight, request_.y0, request_.level, pieces_.Height());
      if (rows.count > 0 && !ReadBlockRow(by, rows, cancel)) return false;
    }
    return true;
  }

 private:
  bool ReadBlockRow(int by, const TiffShare& rows, const int* cancel) {
    const int blockWidth = static_cast<int>(tags_.blockWidth);
    int column = 0;
    for (int bx = request_.x0 / blockWidth; bx <= request_.x1 / blockWidth; ++bx) {
      if (XfnIsStopRequested(cancel)) return false;
      const TiffShare columns = FindTiffShare(bx, blockWidth, request_.x0, request_.level, pieces_.Width());
      if (columns.count == 0) continue;
      const TiffPiece piece{columns.local, columns.count, rows.count, 1 << request_.level};
      if (pieces_.Read(bx, by, piece, rows.local, {column, rows.first})) column += columns.count;
    }
    ClearRest(rows, column);
    return true;
  }

  /// Buffers are used again, so the end of the row may hold samples of another window.
  void ClearRest(const TiffShare& rows, int column) {
    if (column == pieces_.Width()) return;
    const std::int64_t taken = std::int64_t{column} * pieces_.SampleBytes();
    for (const TiffTarget& target : pieces_.Targets()) {
      for (int y = rows.first; y < rows.first + rows.count; ++y) {
        std::memset(target.out->Row(y) + taken, 0, static_cast<std::size_t>(pieces_.OutStride() - taken));
      }
    }
  }

  const TiffTags& tags_;
  const ReadRequest& request_;
  TiffPieces pieces_;
};

}  // namespace

bool SampleTiff(TiffDecoder& decoder, const ReadRequest& request, std::span<const TiffTarget> targets,
                const int* cancel) {
  if (decoder.GetSource().layout.isExact) return SampleTiffExactly(decoder, request, targets, cancel);
  return WindowReader(decoder, request, targets).Read(cancel);
}

}  // namespace zrk
