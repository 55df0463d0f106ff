// GDAL opens a dataset for each block of JPEG, by way of a lock that all threads share. Blocks of grey are decoded here
// instead. They lie one behind the other, and no table lists their offsets. Each begins with the marker that begins a
// JPEG file, and coded data can't hold these bytes. If the number of markers is not that of the blocks, GDAL reads the
// image. That is so where a block has a small preview in its head.

#include "bands/nitf/NitfJpeg.h"

#include "base/BytesFile.h"
#include "codec/JpegDecoder.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <new>
#include <utility>

namespace zrk {

namespace {

constexpr std::array<unsigned char, 3> kJpegBegins = {0xFF, 0xD8, 0xFF};
constexpr std::int64_t kMaxCodedBytes = 64 << 20;    // of a block that is read here
constexpr std::int64_t kMaxSearchedBytes = 1 << 30;  // all threads wait for the search

/// The rows of one plane of grey, which has to have a certain size.
class GreyBlock final : public JpegRows {
 public:
  GreyBlock(int width, int height, unsigned char* out) : width_(width), height_(height), out_(out) {}
  bool Begin(int width, int height, int numPlanes) override {
    return width == width_ && height == height_ && numPlanes == 1;
  }
  unsigned char* RowOf(int, int y) override { return out_ + std::ptrdiff_t{y} * width_; }
  void Take(int) override {}

 private:
  int width_, height_;
  unsigned char* out_;
};

/// Adds the offsets of all markers that begin in a piece of a file.
void AddMarkers(const std::vector<unsigned char>& piece, std::int64_t offset, std::vector<std::int64_t>& found) {
  auto hit = piece.begin();
  while ((hit = std::search(hit, piece.end(), kJpegBegins.begin(), kJpegBegins.end())) != piece.end()) {
    found.push_back(offset + (hit - piece.begin()));
    ++hit;
  }
}

}  // namespace

NitfJpeg::NitfJpeg(std::shared_ptr<DiskFile> file, const NitfSegment& segment, const NitfImage& image)
    : file_(std::move(file)),
      segment_(segment),
      blockWidth_(static_cast<int>(image.blockWidth)),
      blockHeight_(static_cast<int>(image.blockHeight)),
      numBlocks_(image.blocksAcross * image.blocksDown) {}

/// GDAL has an image of one block by its rows, and not by blocks of the header's size.
bool NitfJpeg::Suits(const NitfImage& image, const BlockGrid& grid) {
  const bool isGrey = image.compression == "C3" && image.numBands == 1 && image.numBits == 8 && image.kind == "INT";
  return isGrey && grid.blockWidth == image.blockWidth && grid.blockHeight == image.blockHeight &&
         image.blocksAcross == grid.CountAcross() && image.blocksDown == grid.CountDown();
}

/// Pieces overlap by what a marker may reach into the next one.
void NitfJpeg::FindBlocks() {
  constexpr std::int64_t kPieceBytes = 256 << 10, kOverlap = kJpegBegins.size() - 1;
  const std::int64_t begin = segment_.DataOffset();
  const std::int64_t end = std::min(begin + segment_.dataBytes, file_->Size());
  if (end - begin > kMaxSearchedBytes) return;
  std::vector<std::int64_t> found;
  std::vector<unsigned char> piece;
  for (std::int64_t offset = begin; offset + kOverlap < end && std::ssize(found) <= numBlocks_;) {
    piece.resize(static_cast<std::size_t>(std::min(kPieceBytes, end - offset)));
    if (file_->ReadAt(offset, piece.data(), std::ssize(piece)) != std::ssize(piece)) return;
    AddMarkers(piece, offset, found);
    offset += std::ssize(piece) - kOverlap;
  }
  if (std::ssize(found) != numBlocks_) return;
  found.push_back(end);
  ends_ = std::move(found);
}

bool NitfJpeg::ReadBlock(std::int64_t number, unsigned char* out) {
  try {
    std::call_once(isSearched_, [this] { FindBlocks(); });
    if (number < 0 || number + 1 >= std::ssize(ends_)) return false;
    const std::int64_t begin = ends_[static_cast<std::size_t>(number)];
    const std::int64_t count = ends_[static_cast<std::size_t>(number) + 1] - begin;
    if (count > kMaxCodedBytes) return false;
    std::vector<unsigned char> coded(static_cast<std::size_t>(count));
    if (file_->ReadAt(begin, coded.data(), count) != count) return false;
    BytesFile bytes(coded);
    GreyBlock rows(blockWidth_, blockHeight_, out);
    XString err;
    // Bytes in front of a restart marker may be all that tells of a damaged interval. GDAL says what becomes of it.
    JpegWatch watch;
    watch.anyWarningFails = true;
    return DecodeJpeg(bytes, watch, rows, err) != 0;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

}  // namespace zrk
