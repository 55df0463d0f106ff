// Images of decoders serve one thread at a time, and some are slow to open. So a read borrows one that is idle, opens
// another where none is, and gives it back afterwards. An image whose read has failed is closed, since nobody knows in
// what state its decoder is.

#include "codec/WaveletFile.h"

#include "base/ReadError.h"

#include <new>
#include <utility>

namespace zrk {

std::shared_ptr<WaveletFile> WaveletFile::Open(const WaveletCodec& codec, const XString& path, bool isExact,
                                               XString& reason) {
  OpenedWavelet opened = OpenWavelet(codec, path, isExact, reason);
  return opened.image ? std::make_shared<WaveletFile>(codec, path, isExact, std::move(opened)) : nullptr;
}

WaveletFile::WaveletFile(const WaveletCodec& codec, const XString& path, bool isExact, OpenedWavelet opened)
    : codec_(codec), path_(path), isExact_(isExact), info_(opened.image->GetInfo()), place_(std::move(opened.place)) {
  idle_.push_back(std::move(opened.image));
}

std::unique_ptr<WaveletImage> WaveletFile::Borrow() {
  {
    const std::lock_guard lock(mutex_);
    if (!idle_.empty()) {
      std::unique_ptr<WaveletImage> image = std::move(idle_.back());
      idle_.pop_back();
      return image;
    }
  }
  XString reason;
  OpenedWavelet opened = OpenWavelet(codec_, path_, isExact_, reason);
  const WaveletInfo* const now = opened.image ? &opened.image->GetInfo() : nullptr;
  const bool isSame = now && now->width == info_.width && now->height == info_.height &&
                      now->numChannels == info_.numChannels && now->dataType == info_.dataType;
  if (!isSame) NoteReadError("The file is another one than it was when it was opened, or is gone");
  return isSame ? std::move(opened.image) : nullptr;
}

void WaveletFile::GiveBack(std::unique_ptr<WaveletImage> image) {
  const std::lock_guard lock(mutex_);
  idle_.push_back(std::move(image));
}

bool WaveletFile::Read(const WaveletView& view, void* const* planes, const int* cancel) {
  const auto width = static_cast<int>(info_.width), height = static_cast<int>(info_.height);
  if (!view.window.IsInside(width, height)) return FailRead(kWindowOutside);
  const bool isChannel = view.channel >= 0 && view.numChannels >= 1 && view.channel < info_.numChannels &&
                         view.numChannels <= info_.numChannels - view.channel;
  if (!isChannel) return FailRead("The image has no such channel");
  std::unique_ptr<WaveletImage> image = Borrow();
  if (!image) return false;
  try {
    if (!image->Read(view, planes, cancel)) return false;
  } catch (const std::bad_alloc&) {
    throw;
  } catch (...) {
    return FailRead("The decoder has failed");
  }
  GiveBack(std::move(image));
  return true;
}

}  // namespace zrk
