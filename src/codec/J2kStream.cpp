#include "codec/J2kStream.h"

#include "base/Disk.h"

#include <algorithm>
#include <utility>

namespace zrk {

J2kStream::J2kStream(std::shared_ptr<DiskFile> file) : file_(std::move(file)) {}

void J2kStream::AddBytes(std::vector<unsigned char> bytes) {
  const auto count = std::ssize(bytes);
  if (count == 0) return;
  pieces_.push_back({std::move(bytes), 0, count});
  numBytes_ += count;
}

void J2kStream::AddRange(std::int64_t offset, std::int64_t numBytes) {
  if (numBytes <= 0) return;
  pieces_.push_back({{}, offset, numBytes});
  numBytes_ += numBytes;
}

std::int64_t J2kStream::ReadPiece(const Piece& piece, unsigned char* buffer, std::int64_t count) {
  const std::int64_t wanted = std::min(count, piece.numBytes - inPiece_);
  if (!piece.bytes.empty()) {
    std::copy_n(piece.bytes.data() + inPiece_, wanted, buffer);
    return wanted;
  }
  const std::int64_t got = file_->ReadAt(piece.offset + inPiece_, buffer, wanted);
  if (got != wanted) hasFailed_ = true;
  return std::max<std::int64_t>(got, 0);
}

std::int64_t J2kStream::Read(unsigned char* buffer, std::int64_t count) {
  std::int64_t done = 0;
  while (done < count && piece_ < pieces_.size() && !hasFailed_) {
    const Piece& piece = pieces_[piece_];
    const std::int64_t got = ReadPiece(piece, buffer + done, count - done);
    done += got;
    inPiece_ += got;
    if (inPiece_ == piece.numBytes) {
      ++piece_;
      inPiece_ = 0;
    }
  }
  return done;
}

std::int64_t J2kStream::Skip(std::int64_t count) {
  std::int64_t done = 0;
  while (done < count && piece_ < pieces_.size()) {
    const std::int64_t step = std::min(count - done, pieces_[piece_].numBytes - inPiece_);
    done += step;
    inPiece_ += step;
    if (inPiece_ == pieces_[piece_].numBytes) {
      ++piece_;
      inPiece_ = 0;
    }
  }
  return done;
}

}  // namespace zrk
