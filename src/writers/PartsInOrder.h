#pragma once

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <vector>

namespace zrk {

/// Takes parts that threads make in any order, and hands them on in the order of their numbers, one at a time. A thread
/// that is far ahead waits, so that few parts are kept.
class PartsInOrder {
 public:
  using Bytes = std::vector<unsigned char>;
  /// Takes the next part; false where that fails.
  using Sink = std::function<bool(int index, const Bytes& part)>;

  /// Parts are numbered from `first` on. `numAhead` of them, at least 1, may be kept.
  PartsInOrder(int first, int numAhead, Sink sink) : next_(first), numAhead_(numAhead), sink_(std::move(sink)) {}

  /// False where the sink failed, or a part will not come. The number is higher than that of no part that nobody is at.
  bool Add(int index, Bytes part);
  /// A part will not come, so that nobody needs to wait for it.
  void GiveUp();

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::map<int, Bytes> parts_;
  int next_;
  int numAhead_;
  Sink sink_;
  bool isGivenUp_ = false;
};

}  // namespace zrk
