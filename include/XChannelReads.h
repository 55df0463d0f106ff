#pragma once

#include "tagXArr2.h"
#include "XExport.h"
#include "XPerThread.h"

#include <algorithm>
#include <array>
#include <atomic>

namespace zrk {

/// A window request as a master band compares it: level and inclusive window.
struct ReadRequest {
  int level = -1;
  int x0 = -1;
  int x1 = -1;
  int y0 = -1;
  int y1 = -1;

  friend bool operator==(const ReadRequest&, const ReadRequest&) = default;
  int Width() const { return x1 - x0 + 1; }
  int Height() const { return y1 - y0 + 1; }
  void Get(int& levelOut, int& x0Out, int& x1Out, int& y0Out, int& y1Out) const {
    levelOut = level;
    x0Out = x0;
    x1Out = x1;
    y0Out = y0;
    y1Out = y1;
  }
};

/// What a master band keeps of its reads: for each thread the last request and one result buffer a channel. Because the
/// request stands beside the buffers that it filled, a follower gets the pixels of its own request whatever other
/// threads read meanwhile.
class ZRKIO_API ChannelReads {
 public:
  static constexpr int kMaxChannels = 4;

  struct Record {
    ReadRequest request;
    bool isFilled = false;
    unsigned image = 0;  ///< which image of the band it was read from
    std::array<tagXArr2, kMaxChannels> channels;
  };

  /// Begins a read on the calling thread: stores the request and gives up the results before it.
  Record& Begin(const ReadRequest& request) {
    Record& record = records_.Get();
    record.request = request;
    record.isFilled = false;
    record.image = image_;
    for (tagXArr2& channel : record.channels) channel.isLent = true;
    return record;
  }
  /// The calling thread's last request; all -1 before its first.
  ReadRequest GetLastRequest() const {
    const Record* record = FindCurrent();
    return record ? record->request : ReadRequest{};
  }
  /// The calling thread's result of a channel; null before a read has filled it, and outside the channels.
  tagXArr2* GetResult(int channel, int numChannels) const {
    if (channel < 0 || channel >= std::min(numChannels, kMaxChannels)) return nullptr;
    Record* record = FindCurrent();
    if (!record || !record->isFilled) return nullptr;
    tagXArr2& result = record->channels[static_cast<std::size_t>(channel)];
    return result.data ? &result : nullptr;
  }
  /// Gives up the results of all threads, because the band has another image now. No read may be under way.
  void Forget() { ++image_; }
  /// Frees the calling thread's buffers.
  void Release() { records_.Release(); }

 private:
  Record* FindCurrent() const {
    Record* record = records_.Find();
    return record && record->image == image_ ? record : nullptr;
  }

  PerThread<Record> records_;
  std::atomic<unsigned> image_ = 1;
};

}  // namespace zrk
