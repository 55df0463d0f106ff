// The policy of new datasets is a word of the process. The reason of a failed read belongs to the thread that read. It
// is collected while the read is under way, and becomes the last reason only when the read has failed. A read that
// tried one source in vain and found another leaves none.

#include "XReadPolicy.h"

#include "base/ReadError.h"

#include <atomic>
#include <new>
#include <string>

namespace {

std::atomic<XReadPolicy> defaultPolicy = kReadCompatible;

/// The sentences of a thread.
struct ReadReasons {
  std::string pending;  // of the reads that are under way, where the state has a reason
  std::string last;
};

ReadReasons& ReasonsOfThisThread() {
  thread_local ReadReasons reasons;
  return reasons;
}

/// Makes the sentence that was noted the last reason. The last reason is empty if memory ran out for the sentence.
void KeepNotedReason(zrk::ReadState& state) {
  ReadReasons& reasons = ReasonsOfThisThread();
  if (!state.hasReason) reasons.pending.clear();
  reasons.last.swap(reasons.pending);
  state.hasReason = false;
}

}  // namespace

void XfnSetDefaultReadPolicy(XReadPolicy policy) {
  defaultPolicy = policy;
}

XReadPolicy XfnGetDefaultReadPolicy() {
  return defaultPolicy;
}

int XfnGetLastReadError(XString& err) {
  const std::string& last = ReasonsOfThisThread().last;
  if (last.empty()) return 0;
  err = last;
  return 1;
}

void XfnForgetLastReadError() {
  ReasonsOfThisThread().last.clear();
}

namespace zrk {

ReadState& ReadState::OfThisThread() noexcept {
  constinit thread_local ReadState state;
  return state;
}

void ReadState::MakeSentences() noexcept {
  ReasonsOfThisThread();
  hasSentences = true;
}

void NoteReadError(const char* sentence) noexcept {
  ReadState& state = ReadState::OfThisThread();
  if (state.hasReason) return;
  try {
    ReasonsOfThisThread().pending = sentence;
    state.hasReason = true;
  } catch (const std::bad_alloc&) {
  }
}

std::string CopyReadError() {
  const ReadReasons& reasons = ReasonsOfThisThread();
  return ReadState::OfThisThread().hasReason ? reasons.pending : reasons.last;
}

void AdoptReadError(const std::string& sentence) noexcept {
  if (sentence.empty()) return;
  ReadState& state = ReadState::OfThisThread();
  const bool isUnderWay = state.depth > 0;
  if (!isUnderWay) state.hasReason = false;
  NoteReadError(sentence.c_str());
  if (!isUnderWay) KeepNotedReason(state);
}

void ForgetReadError() noexcept {
  ReadState::OfThisThread().hasReason = false;
}

void ReadErrand::Fail(const char* reasonOtherwise) noexcept {
  NoteReadError(reasonOtherwise);
  if (state_.depth == 1) KeepNotedReason(state_);
}

}  // namespace zrk
