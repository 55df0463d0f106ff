#include "codec/J2kDecoder.h"

namespace zrk {
namespace {

ScopedJ2kDecoders::Maker currentMaker = &MakeOpenJpegDecoder;

}  // namespace

J2kDecoder::~J2kDecoder() = default;

std::unique_ptr<J2kDecoder> MakeJ2kDecoder() {
  return currentMaker();
}

ScopedJ2kDecoders::ScopedJ2kDecoders(Maker maker) : before_(currentMaker) {
  currentMaker = maker;
}

ScopedJ2kDecoders::~ScopedJ2kDecoders() {
  currentMaker = before_;
}

}  // namespace zrk
