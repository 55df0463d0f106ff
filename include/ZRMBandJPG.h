#pragma once

#include "XChannelReads.h"
#include "ZRMBandDRIO.h"

#include <array>
#include <memory>
#include <mutex>

class XThread;

/// One channel of a JPEG file: one for grey, three (red, green, blue) for colour, CMYK included. Data type 1.
///
/// Opening reads the header only. The first read decodes the whole image into planes that stay in memory, and later
/// reads copy from them; a grey file is decoded again on every read. There is no pyramid: every level is answered at
/// full resolution.
class ZRKIO_API ZRMBandJPG : public ZRMBandDRIO {
  X_DECLARE_RUNTIME_CLASS
  /// Null makes a master; with a master this is a follower that shares its size and place. Not owned.
  explicit ZRMBandJPG(ZRMBandJPG* master);
  ~ZRMBandJPG() override;

  /// Reads the header. `err` has the reason where the result is 0; "Can't open file" where there is none to open.
  int ReadFile(XString path, XString& err, XThread* thread);
  /// Decodes the file into the planes unless they are all there; a follower asks its master. With a thread, progress is
  /// reported, and any nonzero state ends the decode with 0 and frees what it made. A file that is cut short or
  /// damaged fails.
  int ExtractDataFromFile(XThread* thread);

  /// 1 or 3; 0 before `ReadFile`.
  int GetNumChannels() const { return numChannels_; }
  /// 256 for grey, 0 for colour.
  int GetPaletteSize() const { return paletteSize_; }
  int GetChannel() const { return channel_; }
  void SetChannel(int channel) { channel_ = channel; }

  /// The calling thread's result of a channel from the last read of this master, or null.
  tagXArr2* GetResult(int channel) const;
  /// The calling thread's last request to this master; all -1 before the first.
  void GetPrevReadSubsetParam(int& level, int& x0, int& x1, int& y0, int& y1) const;

  using ZRMBandDRIO::GetHighestLevelForTarget;
  using ZRMBandDRIO::ReadSubset;
  /// Always 0.
  int GetHighestLevelForTarget(int x0, int x1, int y0, int y1, int width, int height) override;
  int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) override;
  int CalcStatistics(int withHistogram) override;
  /// Keeps its planes and buffers, whatever is asked.
  int CleanupMemory(int freeBuffers, int force) override;
  int CloneBand(ZRMBand* source) override;

 private:
  using Planes = std::array<tagXArr2, 3>;

  std::shared_ptr<const Planes> GetWholePlanes();
  std::shared_ptr<const Planes> ObtainPlanes(XThread* thread, const int* cancel);
  std::shared_ptr<const Planes> Decode(XThread* thread, const int* cancel) const;
  bool IsOfThisImage(const Planes& planes) const;
  int ReadAsMaster(tagXArr2*& out, const zrk::ReadRequest& request, const int* cancel);
  void CopyWindow(const tagXArr2& plane, const zrk::ReadRequest& request, const std::array<unsigned char, 256>& table,
                  tagXArr2& result) const;

  ZRMBandJPG* master_;
  XString path_;
  std::shared_ptr<const Planes> planes_;  // guarded by planesMutex_; what it points to never changes
  std::mutex planesMutex_;
  std::mutex decodeMutex_;  // one colour decode at a time, so that the second reader finds the planes
  int numChannels_ = 0;
  int paletteSize_ = 0;
  std::array<std::array<unsigned char, 256>, 3> palette_{};  // red, green, blue
  int channel_ = 0;
  zrk::ChannelReads reads_;
};
