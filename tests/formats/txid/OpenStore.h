#pragma once

#include "Samples.h"
#include "TempFolder.h"
#include "TxidBuilder.h"
#include "XFormatId.h"
#include "XLevelMode.h"
#include "XReadPolicy.h"
#include "XRSFileIO.h"
#include "ZRMBandTXID.h"

#include <string>

/// Writes a.txi and a.txd; the path of the index.
inline std::string WriteStore(const TxidBuilder& builder, const TempFolder& folder) {
  folder.Write("a.txi", builder.BuildIndex());
  folder.Write("a.txd", builder.BuildData());
  return folder.Path("a.txi");
}

/// A store in a folder of its own, opened through the router.
class OpenStore {
 public:
  explicit OpenStore(const TxidBuilder& builder, XReadPolicy policy = kReadCompatible) : builder_(builder) {
    WriteStore(builder, folder_);
    Open(policy);
  }
  /// The same without the data file of that name, for those who write others.
  struct WithoutData {};
  OpenStore(const TxidBuilder& builder, XReadPolicy policy, WithoutData) : builder_(builder) {
    folder_.Write("a.txi", builder.BuildIndex());
    Open(policy);
  }

  int IsOpen() const { return isOpen_; }
  std::string Error() const { return err_.AsStdString(); }
  ZRMBandTXID& Band(int channel = 0) { return static_cast<ZRMBandTXID&>(*file_.GetBandAt(channel)); }
  XRSFile& File() { return file_; }
  const TempFolder& Folder() const { return folder_; }
  Window Whole() const { return {0, builder_.Width() - 1, 0, builder_.Height() - 1}; }

  Pixels Read(int level, const Window& window, int channel = 0) { return ReadPixels(Band(channel), level, window); }
  /// What the thread has of a channel after a read.
  Pixels Result(int channel) { return PixelsOf(Band().GetResult(channel)); }
  Pixels Minimap(int channel) { return PixelsOf(Band().GetResultMinimap(channel)); }
  /// Why a read fails; empty where it does not.
  std::string Failure(int level, const Window& window, int channel = 0) {
    if (!Read(level, window, channel).bytes.empty()) return {};
    XString reason;
    return XfnGetLastReadError(reason) ? reason.AsStdString() : "no reason";
  }
  /// Every 2^level-th pixel of every 2^level-th row of a window, of one channel.
  Pixels Expected(int level, const Window& window, int channel) const {
    Pixels pixels{window.Width() >> level, window.Height() >> level, {}};
    for (int j = 0; j < pixels.height; ++j) {
      for (int i = 0; i < pixels.width; ++i) {
        const TxidBuilder::Pixel pixel = builder_.At(window.x0 + (i << level), window.y0 + (j << level));
        pixels.bytes.push_back(pixel[static_cast<std::size_t>(channel)]);
      }
    }
    return pixels;
  }

  static Pixels PixelsOf(const tagXArr2* result) {
    if (!result) return {};
    return {result->xSize, result->ySize, {result->data, result->data + std::ptrdiff_t{result->xSize} * result->ySize}};
  }

 private:
  void Open(XReadPolicy policy) {
    file_.SetReadPolicy(policy);
    isOpen_ = XRSFileIO::LoadFileRaster(&file_, kFormatTXID, folder_.Path("a.txi"), err_, 1, kLevelNone, nullptr);
  }

  TxidBuilder builder_;
  TempFolder folder_;
  XRSFile file_;
  XString err_;
  int isOpen_ = 0;
};
