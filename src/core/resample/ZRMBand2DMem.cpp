// A band over samples in memory. It shows a buffer of the caller's, or one of its own where the caller gives a size
// only. A read copies the window into the calling thread's result, so that the result stays as it is when the memory
// changes. Nothing here locks: several threads may read, and a write goes with no other call.
//
// Size and data type can be set on any band from outside. So each call holds the window against the memory itself, and
// not only against the band's fields.

#include "ZRMBand2DMem.h"

#include "base/DataTypeVisit.h"
#include "base/ReadError.h"
#include "math/SampleFilter.h"
#include "XThread.h"
#include "XThreadSafeArr.h"

#include <cstring>
#include <utility>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBand2DMem, ZRMBand);

namespace {

// Each loop is one for a type of sample. Choices stand outside of it.
template <class Sample>
void TakeEvery(const Sample* source, int step, int count, Sample* out) {
  for (int i = 0; i < count; ++i) out[i] = source[static_cast<std::ptrdiff_t>(i) * step];
}

template <class Sample>
void WriteUnequal(const Sample* source, Sample null, int count, Sample* target) {
  for (int i = 0; i < count; ++i) target[i] = source[i] == null ? target[i] : source[i];
}

}  // namespace

struct ZRMBand2DMem::Impl {
  tagXArr2 own;
  tagXArr2* source = nullptr;
  int sourceType = kDataTypeNone;
  XThreadSafeArr2 results;
};

ZRMBand2DMem::ZRMBand2DMem() : impl_(std::make_unique<Impl>()) {}
ZRMBand2DMem::~ZRMBand2DMem() = default;

tagXArr2* ZRMBand2DMem::GetSourceMemory() const {
  return impl_->source;
}

int ZRMBand2DMem::SetSourceMemory(tagXArr2* source, int dataType) {
  if (!source || !source->data || !zrk::IsScalar(dataType) || source->elementSize != XfnGetDataSize(dataType)) return 0;
  // The band's own buffer is freed as soon as another one is shown.
  if (source != &impl_->own) impl_->own.Free();
  impl_->source = source;
  impl_->sourceType = dataType;
  SetDataType(dataType);
  SetSize(source->xSize, source->ySize);
  return 1;
}

int ZRMBand2DMem::SetSourceMemory(int xSize, int ySize, int dataType) {
  tagXArr2 fresh;
  if (!zrk::IsScalar(dataType) || !fresh.Alloc(xSize, ySize, XfnGetDataSize(dataType))) return 0;
  const auto numSamples = static_cast<std::size_t>(xSize) * static_cast<std::size_t>(ySize);
  std::memset(fresh.data, 0, numSamples * static_cast<std::size_t>(fresh.elementSize));
  impl_->own = std::move(fresh);
  return SetSourceMemory(&impl_->own, dataType);
}

bool ZRMBand2DMem::IsInMemory(int x0, int x1, int y0, int y1) const {
  return impl_->source && GetDataType() == impl_->sourceType && IsInside(x0, x1, y0, y1) && x1 < impl_->source->xSize &&
         y1 < impl_->source->ySize;
}

int ZRMBand2DMem::ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) {
  return zrk::ReadPixels([&] {
    if (!IsLevel(level) || !IsInMemory(x0, x1, y0, y1)) return zrk::FailRead(zrk::kWindowOutside);
    if (XfnIsStopRequested(cancel)) return zrk::FailRead(zrk::kReadStopped);
    tagXArr2* result =
        impl_->results.GetBuffer((x1 - x0 + 1) >> level, (y1 - y0 + 1) >> level, XfnGetDataSize(impl_->sourceType));
    if (!result) return 0;
    zrk::VisitDataType(impl_->sourceType, [&](auto zero) {
      using Sample = decltype(zero);
      for (int j = 0; j < result->ySize; ++j) {
        const auto* row = reinterpret_cast<const Sample*>(impl_->source->Row(y0 + (j << level))) + x0;
        TakeEvery(row, 1 << level, result->xSize, reinterpret_cast<Sample*>(result->Row(j)));
      }
    });
    out = result;
    CleanupMemory(0, 0);
    return 1;
  });
}

int ZRMBand2DMem::WriteSubset(tagXArr2* data, int x0, int x1, int y0, int y1, bool keepNull, double nullValue) {
  if (!IsInMemory(x0, x1, y0, y1) || !data || !data->data || data->xSize != x1 - x0 + 1 || data->ySize != y1 - y0 + 1 ||
      data->elementSize != impl_->source->elementSize) {
    return 0;
  }
  zrk::VisitDataType(impl_->sourceType, [&](auto zero) {
    using Sample = decltype(zero);
    const bool skipsNulls = keepNull && zrk::CanEqual<Sample>(nullValue);
    for (int y = y0; y <= y1; ++y) {
      const auto* row = reinterpret_cast<const Sample*>(data->Row(y - y0));
      auto* target = reinterpret_cast<Sample*>(impl_->source->Row(y)) + x0;
      if (skipsNulls) {
        WriteUnequal(row, static_cast<Sample>(nullValue), data->xSize, target);
      } else {
        // The data may be part of the memory that is shown, and then the ranges may overlap.
        std::memmove(target, row, sizeof(Sample) * static_cast<std::size_t>(data->xSize));
      }
    }
  });
  return 1;
}

int ZRMBand2DMem::CleanupMemory(int freeBuffers, int force) {
  if (freeBuffers && IsMemoryWanted(force)) impl_->results.FreeCurrentThreadsBuffer();
  return 1;
}
