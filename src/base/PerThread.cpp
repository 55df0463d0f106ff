// Records for each thread, found without a lock when they are asked for again. Each pool has a number that is never
// used again, and so has each thread. A thread has a table from the numbers of pools to its records. The pool owns the
// records, so they end with the pool. The thread's table refers to pools weakly. A thread that ends can therefore take
// its records out of the pools that still live.
//
// A small direct-mapped cache stands in front of the table. A pool that asks is alive, and numbers are not used twice.
// So a number found in the cache belongs to the pool that asks, and the repeated request takes no lock.

#include "base/PerThread.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <unordered_map>
#include <utility>

namespace zrk {

namespace {

/// Never 0, and to be had until the very end of the thread.
std::uint64_t NumberOfThisThread() {
  static std::atomic<std::uint64_t> last = 0;
  thread_local const std::uint64_t number = ++last;
  return number;
}

struct CacheLine {
  std::uint64_t number = 0;  // of a pool; 0 for none
  void* record = nullptr;
};

/// The calling thread's line for a pool. Those of its pools are emptied while the thread ends. A pool that is gone may
/// leave one behind, whose number nobody asks for.
CacheLine& LineOf(std::uint64_t number) {
  constinit thread_local std::array<CacheLine, 64> lines{};
  return lines[number % lines.size()];
}

}  // namespace

struct PerThreadRecords::Shared {
  explicit Shared(Maker makeRecord) : make(makeRecord) {}

  void* Find(std::uint64_t thread) {
    const std::lock_guard lock(mutex);
    const auto hit = records.find(thread);
    return hit == records.end() ? nullptr : hit->second.get();
  }

  void* Put(std::uint64_t thread, std::shared_ptr<void> record) {
    const std::lock_guard lock(mutex);
    return (records[thread] = std::move(record)).get();
  }

  /// The caller lets the record go, after the lock has been given back.
  std::shared_ptr<void> Take(std::uint64_t thread) {
    const std::lock_guard lock(mutex);
    const auto hit = records.find(thread);
    if (hit == records.end()) return nullptr;
    std::shared_ptr<void> record = std::move(hit->second);
    records.erase(hit);
    return record;
  }

  static inline std::atomic<std::uint64_t> lastNumber = 0;

  const std::uint64_t number = ++lastNumber;
  const Maker make;
  std::mutex mutex;
  std::unordered_map<std::uint64_t, std::shared_ptr<void>> records;
};

class PerThreadTable {
 public:
  using Shared = PerThreadRecords::Shared;

  ~PerThreadTable() {
    isGone_ = true;
    for (auto& [number, entry] : entries_) {
      LineOf(number) = {};
      if (const std::shared_ptr<Shared> pool = entry.pool.lock()) pool->Take(NumberOfThisThread());
    }
  }

  /// The calling thread's table; null once the thread has begun to end.
  static PerThreadTable* OfThisThread() {
    thread_local PerThreadTable table;
    return isGone_ ? nullptr : &table;
  }

  void* Find(std::uint64_t number) {
    const auto hit = entries_.find(number);
    if (hit == entries_.end()) return nullptr;
    return Remember(number, hit->second.record);
  }

  void* Make(const std::shared_ptr<Shared>& pool) {
    std::shared_ptr<void> record = pool->make();
    PruneNowAndThen();
    // The entry comes first: one without a record does no harm, a record without an entry would outlive its thread.
    Entry& entry = entries_[pool->number];
    entry.pool = pool;
    entry.record = pool->Put(NumberOfThisThread(), std::move(record));
    return Remember(pool->number, entry.record);
  }

  void Release(Shared& pool) {
    entries_.erase(pool.number);
    pool.Take(NumberOfThisThread());
  }

 private:
  struct Entry {
    std::weak_ptr<Shared> pool;
    void* record = nullptr;
  };

  /// A record that could not be put away is not remembered, so that the next request makes it.
  void* Remember(std::uint64_t number, void* record) {
    if (record) LineOf(number) = {number, record};
    return record;
  }

  /// Entries of pools that died stay behind; they are swept out whenever the table has doubled.
  void PruneNowAndThen() {
    if (entries_.size() < pruneAt_) return;
    std::erase_if(entries_, [](const auto& each) { return each.second.pool.expired(); });
    pruneAt_ = std::max<std::size_t>(2 * entries_.size(), kFirstPrune);
  }

  static constexpr std::size_t kFirstPrune = 64;
  static inline thread_local bool isGone_ = false;

  std::unordered_map<std::uint64_t, Entry> entries_;
  std::size_t pruneAt_ = kFirstPrune;
};

PerThreadRecords::PerThreadRecords(Maker make) : shared_(std::make_shared<Shared>(make)) {}

PerThreadRecords::~PerThreadRecords() = default;

// A thread that ends may still read after its table has gone. It then goes to the pool itself, and its record stays
// there for as long as the pool.

void* PerThreadRecords::Find() const {
  const std::uint64_t number = shared_->number;
  const CacheLine& line = LineOf(number);
  if (line.number == number) return line.record;
  PerThreadTable* table = PerThreadTable::OfThisThread();
  return table ? table->Find(number) : shared_->Find(NumberOfThisThread());
}

void* PerThreadRecords::Get() {
  if (void* record = Find()) return record;
  PerThreadTable* table = PerThreadTable::OfThisThread();
  return table ? table->Make(shared_) : shared_->Put(NumberOfThisThread(), shared_->make());
}

void PerThreadRecords::Release() {
  LineOf(shared_->number) = {};
  if (PerThreadTable* table = PerThreadTable::OfThisThread()) {
    table->Release(*shared_);
  } else {
    shared_->Take(NumberOfThisThread());
  }
}

}  // namespace zrk
