#include "XThreadSafeArr.h"

#include "base/PerThread.h"

struct XThreadSafeArr1::Impl {
  zrk::PerThread<tagXArr1> buffers;
};

XThreadSafeArr1::XThreadSafeArr1() : impl_(std::make_unique<Impl>()) {}
XThreadSafeArr1::~XThreadSafeArr1() = default;

tagXArr1* XThreadSafeArr1::GetBuffer(int size, int elementSize) {
  tagXArr1* const buffer = GetBuffer();
  return buffer && buffer->Alloc(size, elementSize) ? buffer : nullptr;
}

tagXArr1* XThreadSafeArr1::GetBuffer() {
  return impl_->buffers.TryGet();
}

void XThreadSafeArr1::FreeCurrentThreadsBuffer() {
  impl_->buffers.Release();
}

struct XThreadSafeArr2::Impl {
  zrk::PerThread<tagXArr2> buffers;
};

XThreadSafeArr2::XThreadSafeArr2() : impl_(std::make_unique<Impl>()) {}
XThreadSafeArr2::~XThreadSafeArr2() = default;

tagXArr2* XThreadSafeArr2::GetBuffer(int width, int height, int elementSize) {
  tagXArr2* const buffer = GetBuffer();
  if (!buffer || !buffer->Alloc(width, height, elementSize)) return nullptr;
  buffer->isLent = true;
  return buffer;
}

tagXArr2* XThreadSafeArr2::GetBuffer() {
  return impl_->buffers.TryGet();
}

void XThreadSafeArr2::FreeCurrentThreadsBuffer() {
  impl_->buffers.Release();
}

struct XThreadSafeArr3::Impl {
  zrk::PerThread<tagXArr3> buffers;
};

XThreadSafeArr3::XThreadSafeArr3() : impl_(std::make_unique<Impl>()) {}
XThreadSafeArr3::~XThreadSafeArr3() = default;

tagXArr3* XThreadSafeArr3::GetBuffer(int width, int height, int elementSize) {
  tagXArr3* const buffer = GetBuffer();
  return buffer && buffer->Alloc(width, height, elementSize) ? buffer : nullptr;
}

tagXArr3* XThreadSafeArr3::GetBuffer() {
  return impl_->buffers.TryGet();
}

void XThreadSafeArr3::FreeCurrentThreadsBuffer() {
  impl_->buffers.Release();
}
