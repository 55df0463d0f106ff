#pragma once

#include "tagXArr1.h"
#include "tagXArr2.h"
#include "tagXArr3.h"
#include "XExport.h"
#include "XPerThread.h"

// Pools of buffers, one for each thread that asks. Two threads never get the same buffer, so that several can read
// one band at once without a lock on the results. A buffer belongs to the pool and is valid until the same thread
// asks that pool again, the thread ends, or the pool is destroyed.

class ZRKIO_API XThreadSafeArr1 {
 public:
  /// The calling thread's line, sized to the request; null if memory ran out or the shape can't be.
  tagXArr1* GetBuffer(int size, int elementSize) {
    tagXArr1* line = lines_.TryGet();
    return line && line->Alloc(size, elementSize) ? line : nullptr;
  }
  /// The calling thread's line as it stands; its `data` is null before the first sized request.
  tagXArr1* GetBuffer() { return lines_.TryGet(); }
  void FreeCurrentThreadsBuffer() { lines_.Release(); }

 private:
  zrk::PerThread<tagXArr1> lines_;
};

class ZRKIO_API XThreadSafeArr2 {
 public:
  /// The calling thread's buffer, sized to the request; null if memory ran out or the shape can't be.
  tagXArr2* GetBuffer(int width, int height, int elementSize) {
    tagXArr2* buffer = buffers_.TryGet();
    if (!buffer || !buffer->Alloc(width, height, elementSize)) return nullptr;
    buffer->isLent = true;
    return buffer;
  }
  /// The calling thread's buffer as it stands; its `data` is null before the first sized request.
  tagXArr2* GetBuffer() { return buffers_.TryGet(); }
  void FreeCurrentThreadsBuffer() { buffers_.Release(); }

 private:
  zrk::PerThread<tagXArr2> buffers_;
};

class ZRKIO_API XThreadSafeArr3 {
 public:
  /// The calling thread's planes, sized to the request; null if memory ran out or the shape can't be.
  tagXArr3* GetBuffer(int width, int height, int elementSize) {
    tagXArr3* planes = planes_.TryGet();
    return planes && planes->Alloc(width, height, elementSize) ? planes : nullptr;
  }
  /// The calling thread's planes as they stand.
  tagXArr3* GetBuffer() { return planes_.TryGet(); }
  void FreeCurrentThreadsBuffer() { planes_.Release(); }

 private:
  zrk::PerThread<tagXArr3> planes_;
};
