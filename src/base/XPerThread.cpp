// Each pool has a number that is never used again, and each thread a table from pool numbers to its records. A record
// is held by the pool, so that it goes with it; the thread's table holds the pool weakly, so that a thread that ends
// can take its records out of pools that still live. In front of the table stands a small direct-mapped cache.
//
// A number found in the cache belongs to the very pool that asks, since the pool that asks is alive and numbers are not
// used twice. So the repeated request takes no lock.

#include "XPerThread.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <unordered_map>

namespace zrk {

struct PerThreadRecords::Shared {
  explicit Shared(Maker makeRecord) : make(makeRecord) {}

  /// The record of a thread is known by the address of that thread's table.
  std::shared_ptr<void> Take(const void* table) {
    const std::lock_guard lock(mutex);
    const auto hit = records.find(table);
    if (hit == records.end()) return nullptr;
    std::shared_ptr<void> record = std::move(hit->second);
    records.erase(hit);
    return record;
  }

  static inline std::atomic<std::uint64_t> lastNumber = 0;

  const std::uint64_t number = ++lastNumber;
  const Maker make;
  std::mutex mutex;
  std::unordered_map<const void*, std::shared_ptr<void>> records;
};

class PerThreadTable {
 public:
  using Shared = PerThreadRecords::Shared;

  ~PerThreadTable() {
    isGone_ = true;
    for (auto& [number, entry] : entries_) {
      // The record is destroyed after the pool's lock is given back.
      if (const std::shared_ptr<Shared> pool = entry.pool.lock()) pool->Take(this);
    }
  }

  /// The calling thread's table; null once the thread has begun to end.
  static PerThreadTable* OfThisThread() {
    thread_local PerThreadTable table;
    return isGone_ ? nullptr : &table;
  }

  void* Find(std::uint64_t number) {
    const CacheLine& line = cache_[number % cache_.size()];
    if (line.number == number) return line.record;
    const auto hit = entries_.find(number);
    if (hit == entries_.end()) return nullptr;
    return Remember(number, hit->second.record);
  }

  void* Make(const std::shared_ptr<Shared>& pool) {
    std::shared_ptr<void> record = pool->make();
    PruneNowAndThen();
    entries_[pool->number] = {pool, record.get()};
    const std::lock_guard lock(pool->mutex);
    return Remember(pool->number, (pool->records[this] = std::move(record)).get());
  }

  void Release(Shared& pool) {
    cache_[pool.number % cache_.size()] = {};
    entries_.erase(pool.number);
    pool.Take(this);
  }

 private:
  struct Entry {
    std::weak_ptr<Shared> pool;
    void* record = nullptr;
  };
  struct CacheLine {
    std::uint64_t number = 0;
    void* record = nullptr;
  };

  void* Remember(std::uint64_t number, void* record) {
    cache_[number % cache_.size()] = {number, record};
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

  std::array<CacheLine, 64> cache_{};
  std::unordered_map<std::uint64_t, Entry> entries_;
  std::size_t pruneAt_ = kFirstPrune;
};

PerThreadRecords::PerThreadRecords(Maker make) : shared_(std::make_shared<Shared>(make)) {}

PerThreadRecords::~PerThreadRecords() = default;

void* PerThreadRecords::Find() const {
  PerThreadTable* table = PerThreadTable::OfThisThread();
  return table ? table->Find(shared_->number) : nullptr;
}

void* PerThreadRecords::Get() {
  PerThreadTable* table = PerThreadTable::OfThisThread();
  if (table) {
    if (void* record = table->Find(shared_->number)) return record;
    return table->Make(shared_);
  }
  // A read within the end of its thread: the record then lives as long as the pool.
  const std::lock_guard lock(shared_->mutex);
  std::shared_ptr<void>& record = shared_->records[nullptr];
  if (!record) record = shared_->make();
  return record.get();
}

void PerThreadRecords::Release() {
  if (PerThreadTable* table = PerThreadTable::OfThisThread()) table->Release(*shared_);
}

}  // namespace zrk
