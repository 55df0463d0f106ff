#pragma once

#include "XString.h"

#include <csetjmp>
#include <cstdint>
#include <cstdio>
#include <functional>

#include <jpeglib.h>

namespace zrk {

class DiskFile;

/// A decompressor of libjpeg over an open file. Its ways out of the process are closed: the error exit jumps back here,
/// messages go to a text, and our own limit overrules the memory switch of the environment. For one thread.
class JpegSession {
 public:
  explicit JpegSession(DiskFile& file);
  ~JpegSession();
  JpegSession(const JpegSession&) = delete;
  JpegSession& operator=(const JpegSession&) = delete;

  /// Runs `step`, which calls libjpeg. False where libjpeg gave up within it, and then `GetError` has its words. The
  /// step must not own anything that needs a destructor, since the way out is a jump.
  template <class Step>
  bool Run(Step step) {
    if (setjmp(escape_)) return false;
    step(decoder_);
    return true;
  }

  /// `keepGoing` is asked between pieces of long work within libjpeg, and false ends the work like an error. It must
  /// outlive the session's work.
  void SetKeepGoing(const std::function<bool()>* keepGoing) { keepGoing_ = keepGoing; }

  /// Takes each warning of libjpeg for an error, and not only those that mean wrong pixels.
  void SetAnyWarningFails(bool value) { anyWarningFails_ = value; }

  jpeg_decompress_struct& GetDecoder() { return decoder_; }
  XString GetError() const { return XString(error_); }
  bool WasStopped() const { return stopped_; }

 private:
  static JpegSession& Of(j_common_ptr common);
  [[noreturn]] static void OnError(j_common_ptr common);
  static void OnMessage(j_common_ptr common, int level);
  static void OnProgress(j_common_ptr common);
  static boolean FillBuffer(j_decompress_ptr decoder);
  static void SkipBytes(j_decompress_ptr decoder, long count);
  [[noreturn]] void GiveUp(const char* why);

  static constexpr int kBufferBytes = 64 * 1024;

  DiskFile& file_;
  std::int64_t position_ = 0;
  int scanLimit_;
  const std::function<bool()>* keepGoing_ = nullptr;
  bool stopped_ = false, anyWarningFails_ = false;
  char error_[JMSG_LENGTH_MAX] = "";
  std::jmp_buf escape_;
  jpeg_decompress_struct decoder_{};
  jpeg_error_mgr errors_{};
  jpeg_source_mgr source_{};
  jpeg_progress_mgr progress_{};
  JOCTET buffer_[kBufferBytes];
};

}  // namespace zrk
