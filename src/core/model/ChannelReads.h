#pragma once

#include "base/PerThread.h"
#include "tagXArr2.h"

#include <atomic>
#include <cstddef>
#include <deque>

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
};

/// What a master band keeps of its reads: for each thread the last request and one result buffer a channel. Because the
/// request stands beside the buffers that it filled, a follower gets the pixels of its own request whatever other
/// threads read meanwhile.
class ChannelReads {
 public:
  /// The results of a read: so many channels of one size.
  struct Shape {
    int numChannels = 0;
    int width = 0;
    int height = 0;
    int sampleBytes = 1;
  };

  struct Record {
    ReadRequest request;
    bool isFilled = false;
    int numChannels = 0;            ///< of this read
    unsigned image = 0;             ///< which image of the band it was read from
    std::deque<tagXArr2> channels;  ///< at least `numChannels`; those handed out stay where they are

    tagXArr2& At(int channel) { return channels[static_cast<std::size_t>(channel)]; }
  };

  /// Begins a read on the calling thread: stores the request, gives up the results before it, and makes room for its
  /// own. Returns null where there is no room, or no such shape; the request counts as asked nevertheless.
  Record* Begin(const ReadRequest& request, const Shape& shape);
  /// The calling thread's last request; all -1 before its first.
  ReadRequest GetLastRequest() const {
    const Record* record = FindCurrent();
    return record ? record->request : ReadRequest{};
  }
  /// The calling thread's result of a channel; null before a read has filled it, and outside the channels.
  tagXArr2* GetResult(int channel) const { return ResultOf(FindCurrent(), channel); }
  /// As `GetResult`; null also where the calling thread's last request was another one.
  tagXArr2* FindResult(int channel, const ReadRequest& request) const {
    Record* const record = FindCurrent();
    return record && record->request == request ? ResultOf(record, channel) : nullptr;
  }
  /// The calling thread's record, where its last request was this one and has been filled; null otherwise.
  Record* FindFilled(const ReadRequest& request) const {
    Record* const record = FindCurrent();
    return record && record->isFilled && record->request == request ? record : nullptr;
  }
  /// Gives up the results of all threads, because the band has another image now. No read may be under way.
  void Forget() { ++image_; }
  /// Frees the calling thread's buffers.
  void Release() { records_.Release(); }

 private:
  static tagXArr2* ResultOf(Record* record, int channel) {
    const bool isThere = record && record->isFilled && channel >= 0 && channel < record->numChannels;
    return isThere ? &record->At(channel) : nullptr;
  }
  Record* FindCurrent() const {
    Record* record = records_.Find();
    return record && record->image == image_ ? record : nullptr;
  }

  PerThread<Record> records_;
  std::atomic<unsigned> image_ = 1;
};

}  // namespace zrk
