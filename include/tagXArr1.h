#pragma once

#include "XExport.h"

#include <memory>

/// A line of samples: the one-dimensional pixel buffer. Movable, not copyable; use by one thread at a time. Nothing
/// here throws.
struct ZRKIO_API tagXArr1 {
  tagXArr1();
  /// Allocates at once; `data` stays null where that fails.
  tagXArr1(int count, int sampleBytes);
  ~tagXArr1();
  /// The source is left empty, as after `Free`.
  tagXArr1(tagXArr1&& other) noexcept;
  tagXArr1& operator=(tagXArr1&& other) noexcept;

  /// Makes room for `count` samples; contents are undefined after it. Storage that is large enough is kept. Nonzero on
  /// success; 0, with the record as it was, for sizes that are not positive, for more than INT_MAX bytes, or
  /// where memory ran out.
  int Alloc(int count, int sampleBytes);
  /// Gives the memory back; all fields are as at first.
  void Free();

  /// The first sample, or null for an empty record. The memory belongs to the record and is 64-byte aligned. Callers
  /// index it and never free or replace it.
  unsigned char* data = nullptr;
  /// Samples in the line; 0 for an empty record.
  int size = 0;
  /// Bytes of a sample, as given to `Alloc`.
  int elementSize = 0;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};
