#pragma once

#include "XExport.h"

#include <memory>
#include <new>

namespace zrk {

/// The part of `PerThread` that does not know its type: a set of records, one for each thread that asked.
///
/// A thread finds its record through a table of its own, without a lock; only the first request of a thread
/// takes one. Records go when their thread ends, when they are released, or with the pool, whichever is first.
class ZRKIO_API PerThreadRecords {
 public:
  using Maker = std::shared_ptr<void> (*)();

  explicit PerThreadRecords(Maker make);
  ~PerThreadRecords();
  PerThreadRecords(const PerThreadRecords&) = delete;
  PerThreadRecords& operator=(const PerThreadRecords&) = delete;

  /// The calling thread's record, made where it had none.
  void* Get();
  /// The calling thread's record, or null where it has none.
  void* Find() const;
  /// Destroys the calling thread's record.
  void Release();

 private:
  struct Shared;
  friend class PerThreadTable;
  std::shared_ptr<Shared> shared_;
};

/// One `Record` for each thread, made by default on first use.
template <class Record>
class PerThread {
 public:
  PerThread() : records_([]() -> std::shared_ptr<void> { return std::make_shared<Record>(); }) {}

  Record& Get() { return *static_cast<Record*>(records_.Get()); }
  /// As `Get`; null where memory ran out.
  Record* TryGet() noexcept {
    try {
      return &Get();
    } catch (const std::bad_alloc&) {
      return nullptr;
    }
  }
  /// Returns null where the calling thread has none.
  Record* Find() const { return static_cast<Record*>(records_.Find()); }
  void Release() { records_.Release(); }

 private:
  PerThreadRecords records_;
};

}  // namespace zrk
