#pragma once

#include <new>
#include <string>

namespace zrk {

/// Reasons that bands of all kinds have.
inline constexpr const char* kWindowOutside = "The window is not inside the band";
inline constexpr const char* kNoSuchLevel = "The level leaves no pixel of the window";
inline constexpr const char* kReadStopped = "The read was stopped";
inline constexpr const char* kReadNoMemory = "There is no memory for the pixels";

/// Tells why the read that is under way on this thread will fail. Of several sentences the first stays, which comes
/// from where the failure was. Nothing is thrown, and a sentence is lost where memory runs out.
void NoteReadError(const char* sentence) noexcept;

/// As `NoteReadError`; 0, to be returned as the result.
inline int FailRead(const char* sentence) noexcept {
  NoteReadError(sentence);
  return 0;
}

/// How the reads of a thread stand. Every read asks for this, and so it needs no making. The sentences lie apart, and
/// are made by the first read of a thread: one that fails may find no memory for them.
struct ReadState {
  bool hasSentences = false;
  int depth = 0;           ///< of reads within each other
  bool hasReason = false;  ///< a sentence was noted by one of the reads that are under way

  static ReadState& OfThisThread() noexcept;
  void MakeSentences() noexcept;
};

/// A read of a band, which ends on the thread where it began. Reads may lie within each other, as those of a level band
/// within those of its image. What is noted on the way becomes the reason of the outermost one, if that fails.
class ReadErrand {
 public:
  ReadErrand() noexcept : state_(ReadState::OfThisThread()) {
    if (state_.depth++ > 0) return;
    state_.hasReason = false;
    if (!state_.hasSentences) state_.MakeSentences();
  }
  ~ReadErrand() { --state_.depth; }
  ReadErrand(const ReadErrand&) = delete;
  ReadErrand& operator=(const ReadErrand&) = delete;

  /// Hands the result on. A failure for which no reason was noted has the sentence given.
  int End(int result, const char* reasonOtherwise = "The pixels can't be read") noexcept {
    // What a source noted that was asked in vain is no reason for what may still fail.
    if (result) state_.hasReason = false;
    if (!result) Fail(reasonOtherwise);
    return result;
  }

 private:
  void Fail(const char* reasonOtherwise) noexcept;

  ReadState& state_;  // finding that of a thread takes long beside a read that is repeated
};

/// The sentence that this thread has noted, or else its last reason; empty where it has neither. For a worker, which
/// hands it to the thread that waits for it.
std::string CopyReadError();
/// Takes over the sentence of a worker: for the read that is under way here, or as the last reason where none is.
void AdoptReadError(const std::string& sentence) noexcept;

/// Forgets what was noted of a source that was asked in vain, before the next one is asked.
void ForgetReadError() noexcept;

/// Runs a read of a band, from which nothing may be thrown, and keeps the reason where it fails.
template <class Read>
int ReadPixels(Read&& read) noexcept {
  ReadErrand errand;
  try {
    return errand.End(read());
  } catch (const std::bad_alloc&) {
    return errand.End(0, kReadNoMemory);
  } catch (...) {
    return errand.End(0, "A band of the caller has thrown");
  }
}

}  // namespace zrk
