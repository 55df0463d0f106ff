#pragma once

#include "XExport.h"
#include "XString.h"

#include <atomic>
#include <memory>

class XThread;

/// The window message that every callback of an `XThread` posts.
inline constexpr unsigned kXThreadMessage = 0x7E8;

/// Takes the messages that a window took in the family's desktop programs. The call comes on the working thread, and
/// must return soon. An exception from it goes no further. It asks the operation to stop, as the state word does, so
/// that the operation cleans up and ends as a cancelled one.
class ZRKIO_API XMessageTarget {
 public:
  virtual ~XMessageTarget();
  /// `message` is `kXThreadMessage`. `sender` is the thread that reports, and is valid during the call. `value` is a
  /// whole percentage, or 0 for an end or a text.
  virtual void PostMessage(unsigned message, XThread* sender, long value) = 0;
};

/// Carries progress out of a long operation, and the request to stop into it. It starts no thread. The operation runs
/// on the caller's thread, reports here, and stops when the state word says so.
///
/// The state word may be set from any thread. Callbacks come from the working thread. Other threads read texts and
/// codes after the operation has ended; the working thread may read them within `PostMessage`.
class ZRKIO_API XThread {
 public:
  /// What the state word asks of the operation: to go on, or to stop soon.
  enum State { kStateRun = 0, kStateStop = 1 };
  /// How an operation ended. `kResultNone` stands for one that has not ended. `kResultText` is no end: a text was
  /// reported last.
  enum ResultCode { kResultNone = 0, kResultSuccess = 1, kResultFailure = 2, kResultCancel = 3, kResultText = 5 };

  /// `target` takes the messages; it may be null and must outlive this object.
  explicit XThread(XMessageTarget* target = nullptr);
  virtual ~XThread();
  XThread(const XThread&) = delete;
  XThread& operator=(const XThread&) = delete;

  /// A value of `State`; `kStateRun` at first. Any thread may ask and set it.
  int GetState() const;
  /// `kStateStop` asks the operation to stop soon. It stays set until the caller sets `kStateRun` again, and stops the
  /// next operation too.
  void SetState(int state);
  /// The state word, for the `cancel` argument of reads. It is read and written through `std::atomic_ref`. It is valid
  /// as long as this object.
  int* GetStatePtr() { return &state_; }

  /// How the last operation ended, a `ResultCode`. A save of a dataset and a build of level data store it; it stays
  /// `kResultNone` until one has run.
  int GetResultCode() const { return resultCode_; }
  /// What was stored with the last failure or text, as a copy. Ask after the operation, or on its own thread.
  XString GetMessageText() const { return messageText_; }

  /// Maps `percent` (0 to 100) into the range set, posts it as a whole number, and waits while suspended. A percentage
  /// outside 0 to 100 is cut to it, and what is not a number counts as 0.
  void CallbackPercent(double percent);
  /// The share of the whole that the next operation fills, in percent; 0 to 100 at first. The caller of several
  /// operations gives each of them a part.
  void SetPercentRange(int first, int last);
  void GetPercentRange(int& first, int& last) const;
  /// Stores `code` as the result and posts `value`. The forms below store their own code and post 0.
  void Callback(int code, long value);
  /// The operation has succeeded.
  void CallbackSuccess();
  /// Keeps a copy of `text` for `GetMessageText`, as `CallbackText` does. A text is a message on the way and ends
  /// nothing.
  void CallbackFail(const XString& text);
  /// The operation has stopped because it was asked to.
  void CallbackCancel();
  void CallbackText(const XString& text);
  /// Stores `code` as the result, and `text` with it, but posts nothing.
  void SetResult(int code, const XString& text);

  /// Asks the operation to stop, and lets a suspended one go on to see it. Any thread may call it. It returns at once
  /// and waits for nothing.
  void Terminate();
  /// Whether the operation has not yet reported success, failure or cancel. True before one has run.
  bool IsValid() const;
  /// The operation pauses at its next `CallbackPercent`, until `Resume` or a stop. Any thread may call both.
  void Suspend();
  void Resume();

 private:
  void Post(long value);
  void WaitWhileSuspended();

  alignas(4) mutable int state_ = kStateRun;
  std::atomic<int> resultCode_ = kResultNone;
  XString messageText_;
  XMessageTarget* target_;
  int firstPercent_ = 0;
  int lastPercent_ = 100;
  struct Pause;
  std::unique_ptr<Pause> pause_;
};

/// Whether the state word asks to stop, that is holds 1. A null pointer never does. Any thread may set the word
/// meanwhile.
ZRKIO_API bool XfnIsStopRequested(const int* cancel);
