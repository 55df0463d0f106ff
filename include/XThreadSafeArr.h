#pragma once

#include "tagXArr1.h"
#include "tagXArr2.h"
#include "tagXArr3.h"
#include "XExport.h"

#include <memory>

// Pools of buffers, one for each thread that asks. Two threads never get the same buffer, so that several can read
// one band at once without a lock on the results. A buffer belongs to the pool and is valid until the same thread
// asks that pool again, the thread ends, or the pool is destroyed. A repeated request of a thread takes no lock.

/// A pool of lines. Destroy it when no thread uses its lines any more.
class ZRKIO_API XThreadSafeArr1 {
 public:
  /// An empty pool; memory is taken with the first request of a thread.
  XThreadSafeArr1();
  ~XThreadSafeArr1();

  /// The calling thread's line, sized to the request, with undefined contents. The record is the same for every request
  /// of the thread, so that a request changes what an earlier one gave. Returns null if memory ran out or the shape
  /// can't be; the line then stays.
  tagXArr1* GetBuffer(int size, int elementSize);
  /// The calling thread's line as it stands; its `data` is null before the first sized request.
  tagXArr1* GetBuffer();
  /// Destroys the calling thread's line; those of other threads stay.
  void FreeCurrentThreadsBuffer();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

/// A pool of two-dimensional buffers, which are marked as lent: nobody fills one in place of a buffer of his own.
class ZRKIO_API XThreadSafeArr2 {
 public:
  XThreadSafeArr2();
  ~XThreadSafeArr2();

  /// The calling thread's buffer, sized to the request, with undefined contents. The record is the same for every
  /// request of the thread, so that a request changes what an earlier one gave. Returns null if memory ran out or the
  /// shape can't be; the buffer then stays.
  tagXArr2* GetBuffer(int width, int height, int elementSize);
  /// The calling thread's buffer as it stands; its `data` is null before the first sized request.
  tagXArr2* GetBuffer();
  /// Destroys the calling thread's buffer; those of other threads stay.
  void FreeCurrentThreadsBuffer();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

/// A pool of three planes of one shape. Destroy it when no thread uses its planes any more.
class ZRKIO_API XThreadSafeArr3 {
 public:
  XThreadSafeArr3();
  ~XThreadSafeArr3();

  /// The calling thread's planes, sized to the request, with undefined contents. The record is the same for every
  /// request of the thread, so that a request changes what an earlier one gave. Returns null if memory ran out or the
  /// shape can't be; the planes then stay.
  tagXArr3* GetBuffer(int width, int height, int elementSize);
  /// The calling thread's planes as they stand; their `data` is null before the first sized request.
  tagXArr3* GetBuffer();
  /// Destroys the calling thread's planes; those of other threads stay.
  void FreeCurrentThreadsBuffer();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};
