#include "XImageCodec.h"

#include "tiles/BlockCoder.h"
#include "XLimits.h"

#include <new>

namespace {

zrk::BlockShape ShapeOf(int tileSize) {
  return {kDxt1, tileSize, tileSize};
}

std::size_t UnpackedBytes(int tileSize) {
  return static_cast<std::size_t>(tileSize) * static_cast<std::size_t>(tileSize) * 4;
}

}  // namespace

XImageCodec::XImageCodec(int tileSize, int) {
  if (zrk::BlockBytes(ShapeOf(tileSize)) == 0) return;
  if (UnpackedBytes(tileSize) > static_cast<std::size_t>(XfnGetLimits().decodedTileBytes)) return;
  buffer = new (std::nothrow) unsigned char[UnpackedBytes(tileSize)]();
  if (buffer) tileSize_ = tileSize;
}

XImageCodec::~XImageCodec() {
  delete[] buffer;
}

int XImageCodec::GetPackedBytes() const {
  return static_cast<int>(zrk::BlockBytes(ShapeOf(tileSize_)));
}

bool XImageCodec::DecodeDXT1(int, unsigned char* source, unsigned char*& target) {
  if (tileSize_ == 0 || !source) return false;
  if (!target) target = buffer;
  const std::ptrdiff_t rowBytes = std::ptrdiff_t{tileSize_} * 4;
  const zrk::Window whole{0, tileSize_ - 1, 0, tileSize_ - 1};
  return zrk::DecodeBlockWindow({source, static_cast<std::size_t>(GetPackedBytes())}, ShapeOf(tileSize_), whole,
                                {target + (tileSize_ - 1) * rowBytes, -rowBytes, true});
}

bool XImageCodec::EncodeDXT1(const unsigned char* source, unsigned char* target) const {
  if (tileSize_ == 0 || !source || !target) return false;
  return zrk::EncodeBlocks({source, UnpackedBytes(tileSize_)}, kPixelBgra, ShapeOf(tileSize_),
                           {target, static_cast<std::size_t>(GetPackedBytes())});
}
