#pragma once

#include "XChannelReads.h"
#include "XPixelStorage.h"
#include "ZRMBand.h"

class XThread;

/// One channel of a CADRG frame: 1536 x 1536 pixels in the colours of the frame's own table.
///
/// The first band owns the pixels of all channels, which are decoded once when the frame is read: three for colours,
/// one for grey, four for a table of four planes. Reads copy from memory, at full resolution whatever the level.
class ZRKIO_API ZRMBandCADRG : public ZRMBand {
  X_DECLARE_RUNTIME_CLASS
  /// Null makes the owner of a frame; with a parent this is a further channel, which shares its size and place and must
  /// not outlive it. Not owned.
  explicit ZRMBandCADRG(ZRMBandCADRG* parent);
  ~ZRMBandCADRG() override;

  /// Whether headers, coverage and colours of a frame are there; 1 or 0.
  static int CheckToRead(const XString& path);
  /// Reads a frame; 1 or 0. Neither `err` nor `thread` is used: a frame that can't be read gives no sentence.
  int ReadFile(XString path, XString& err, XThread* thread);

  /// Of the frame, known to its owner.
  int GetNumChannels() const { return numChannels_; }
  /// 0-based, 0 for the owner.
  int GetChannel() const { return channel_; }
  void SetChannel(int channel) { channel_ = channel; }

  /// The calling thread's result of a channel from the last read of this owner, or null.
  tagXArr2* GetResult(int channel) const;
  /// The calling thread's last request to this owner; all -1 before the first.
  void GetPrevReadSubsetParam(int& level, int& x0, int& x1, int& y0, int& y1) const;

  using ZRMBand::GetHighestLevelForTarget;
  using ZRMBand::ReadSubset;
  int GetHighestLevelForTarget(int x0, int x1, int y0, int y1, int width, int height) override;
  int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) override;
  int CalcStatistics(int withHistogram) override;
  int CleanupMemory(int freeBuffers, int force) override;
  int CloneBand(ZRMBand* source) override;

 private:
  tagXArr2* FindResult(int channel, const zrk::ReadRequest& request) const;
  int ReadThroughParent(tagXArr2*& out, const zrk::ReadRequest& request);
  int ReadAsOwner(tagXArr2*& out, const zrk::ReadRequest& request);

  ZRMBandCADRG* parent_;
  zrk::PixelStorage pixels_;  // one plane a channel
  int numChannels_ = 0;
  int channel_ = 0;
  zrk::ChannelReads reads_;
};
