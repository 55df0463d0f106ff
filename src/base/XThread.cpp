#include "XThread.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

XMessageTarget::~XMessageTarget() = default;

/// Where a suspended operation waits.
struct XThread::Pause {
  std::mutex mutex;
  std::condition_variable resumed;
  bool isSuspended = false;
};

XThread::XThread(XMessageTarget* target) : target_(target), pause_(std::make_unique<Pause>()) {}

XThread::~XThread() = default;

int XThread::GetState() const {
  return std::atomic_ref<int>(state_).load();
}

void XThread::SetState(int state) {
  std::atomic_ref<int>(state_).store(state);
  // Whoever is about to wait holds the lock, and so sees the new state or the notice of it.
  { const std::lock_guard lock(pause_->mutex); }
  pause_->resumed.notify_all();
}

void XThread::CallbackPercent(double percent) {
  // Written so that a percentage that is no number counts as none. Divided last: 29 of 0 to 100 is then 29, not 28.
  const double done = percent > 0.0 ? std::min(percent, 100.0) : 0.0;
  const double range = static_cast<double>(lastPercent_) - firstPercent_;
  Post(static_cast<long>(firstPercent_ + done * range / 100.0));
  WaitWhileSuspended();
}

void XThread::SetPercentRange(int first, int last) {
  firstPercent_ = first;
  lastPercent_ = last;
}

void XThread::GetPercentRange(int& first, int& last) const {
  first = firstPercent_;
  last = lastPercent_;
}

void XThread::SetResult(int code, const XString& text) {
  messageText_ = text;
  resultCode_ = code;
}

void XThread::Callback(int code, long value) {
  resultCode_ = code;
  Post(value);
}

void XThread::CallbackSuccess() {
  Callback(kResultSuccess, 0);
}

void XThread::CallbackFail(const XString& text) {
  messageText_ = text;
  Callback(kResultFailure, 0);
}

void XThread::CallbackCancel() {
  Callback(kResultCancel, 0);
}

void XThread::CallbackText(const XString& text) {
  messageText_ = text;
  Callback(kResultText, 0);
}

void XThread::Terminate() {
  SetState(kStateStop);
  Resume();
}

bool XThread::IsValid() const {
  const int code = resultCode_;
  return code != kResultSuccess && code != kResultFailure && code != kResultCancel;
}

void XThread::Suspend() {
  const std::lock_guard lock(pause_->mutex);
  pause_->isSuspended = true;
}

void XThread::Resume() {
  {
    const std::lock_guard lock(pause_->mutex);
    pause_->isSuspended = false;
  }
  pause_->resumed.notify_all();
}

/// The operation may stand inside a read, out of which nothing can be thrown. It hears the stop where it looks at the
/// state word next.
void XThread::Post(long value) {
  if (!target_) return;
  try {
    target_->PostMessage(kXThreadMessage, this, value);
  } catch (...) {
    SetState(kStateStop);
  }
}

void XThread::WaitWhileSuspended() {
  std::unique_lock lock(pause_->mutex);
  // The state word may be set from outside, by whoever was given its address, and then nobody wakes this wait.
  constexpr std::chrono::milliseconds kLookAgain(20);
  while (pause_->isSuspended && GetState() != kStateStop) pause_->resumed.wait_for(lock, kLookAgain);
}

bool XfnIsStopRequested(const int* cancel) {
  // The word belongs to an XThread or its like, and is never a constant one.
  return cancel && std::atomic_ref<int>(*const_cast<int*>(cancel)).load() == XThread::kStateStop;
}
