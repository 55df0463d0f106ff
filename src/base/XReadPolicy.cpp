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

}  // namespace

struct zrk::ReadReasons {
  int depth = 0;        // of reads within each other
  std::string pending;  // of the reads that are under way
  std::string last;
};

namespace {

zrk::ReadReasons& OfThisThread() {
  thread_local zrk::ReadReasons reasons;
  return reasons;
}

}  // namespace

void XfnSetDefaultReadPolicy(XReadPolicy policy) {
  defaultPolicy = policy;
}

XReadPolicy XfnGetDefaultReadPolicy() {
  return defaultPolicy;
}

int XfnGetLastReadError(XString& err) {
  const std::string& last = OfThisThread().last;
  if (last.empty()) return 0;
  err = last;
  return 1;
}

void XfnForgetLastReadError() {
  OfThisThread().last.clear();
}

namespace zrk {

void NoteReadError(const char* sentence) noexcept {
  ReadReasons& reasons = OfThisThread();
  if (!reasons.pending.empty()) return;
  try {
    reasons.pending = sentence;
  } catch (const std::bad_alloc&) {
  }
}

std::string CopyReadError() {
  const ReadReasons& reasons = OfThisThread();
  return reasons.pending.empty() ? reasons.last : reasons.pending;
}

void AdoptReadError(const std::string& sentence) noexcept {
  if (sentence.empty()) return;
  ReadReasons& reasons = OfThisThread();
  const bool isUnderWay = reasons.depth > 0;
  if (!isUnderWay) reasons.pending.clear();
  NoteReadError(sentence.c_str());
  if (!isUnderWay) reasons.last.swap(reasons.pending);
}

void ForgetReadError() noexcept {
  OfThisThread().pending.clear();
}

ReadErrand::ReadErrand() noexcept : reasons_(OfThisThread()) {
  if (reasons_.depth++ == 0) reasons_.pending.clear();
}

ReadErrand::~ReadErrand() {
  --reasons_.depth;
}

int ReadErrand::End(int result, const char* reasonOtherwise) noexcept {
  if (result) {
    // What a source noted that was asked in vain is no reason for what may still fail.
    if (!reasons_.pending.empty()) reasons_.pending.clear();
  } else {
    NoteReadError(reasonOtherwise);
    if (reasons_.depth == 1) reasons_.last.swap(reasons_.pending);
  }
  return result;
}

}  // namespace zrk
