// libjpeg reports a failure by a function that must not return. Ours keeps the words and jumps back to `Run`. Bytes
// come from a disk file by way of a source of ours, in pieces of 64 KB. A progress monitor, which libjpeg calls now and
// then while it works, is where a caller can end it, and where an endless number of scans is ended.
//
// A jump runs no destructors. So nothing between `Run` and libjpeg's calls may own anything, and the callbacks here
// keep to plain data.

#include "codec/JpegSession.h"

#include "base/Disk.h"
#include "XLimits.h"

#include <algorithm>

#include <jerror.h>

namespace zrk {

namespace {

/// Whether a warning means that pixels come out wrong. The others are about bytes between segments or odd version
/// numbers, which sound files of many cameras and scanners have.
bool DamagesPixels(int warning) {
  switch (warning) {
    case JWRN_ARITH_BAD_CODE:
    case JWRN_BOGUS_PROGRESSION:
    case JWRN_HIT_MARKER:
    case JWRN_HUFF_BAD_CODE:
    case JWRN_JPEG_EOF:
    case JWRN_MUST_RESYNC:
    case JWRN_NOT_SEQUENTIAL:
      return true;
    default:
      return false;
  }
}

}  // namespace

JpegSession::JpegSession(DiskFile& file) : file_(file), scanLimit_(XfnGetLimits().jpegScans) {
  // libjpeg's default handlers print and end the process.
  decoder_.err = jpeg_std_error(&errors_);
  errors_.error_exit = &OnError;
  errors_.emit_message = &OnMessage;
  errors_.output_message = [](j_common_ptr) {};
  decoder_.client_data = this;

  source_.init_source = [](j_decompress_ptr) {};
  source_.fill_input_buffer = &FillBuffer;
  source_.skip_input_data = &SkipBytes;
  source_.resync_to_restart = &jpeg_resync_to_restart;
  source_.term_source = [](j_decompress_ptr) {};
  progress_.progress_monitor = &OnProgress;

  Run([this](jpeg_decompress_struct& decoder) {
    // Creating a decompressor clears the record and takes the memory limit of the environment. So these are set after
    // it.
    jpeg_create_decompress(&decoder);
    decoder.client_data = this;
    decoder.src = &source_;
    decoder.progress = &progress_;
    decoder.mem->max_memory_to_use = static_cast<long>(XfnGetLimits().decodedTileBytes);
  });
}

JpegSession::~JpegSession() {
  jpeg_destroy_decompress(&decoder_);
}

JpegSession& JpegSession::Of(j_common_ptr common) {
  return *static_cast<JpegSession*>(common->client_data);
}

void JpegSession::GiveUp(const char* why) {
  std::snprintf(error_, sizeof error_, "%s", why);
  std::longjmp(escape_, 1);
}

void JpegSession::OnError(j_common_ptr common) {
  // The text must live on the stack: what owns memory here would lose it in the jump.
  char text[JMSG_LENGTH_MAX];
  common->err->format_message(common, text);
  Of(common).GiveUp(text);
}

void JpegSession::OnMessage(j_common_ptr common, int level) {
  // Levels of 0 and above are remarks. A warning has -1.
  if (level < 0 && (Of(common).anyWarningFails_ || DamagesPixels(common->err->msg_code))) OnError(common);
}

void JpegSession::OnProgress(j_common_ptr common) {
  JpegSession& session = Of(common);
  // Each scan of a progressive file goes over the whole image. A few bytes of scans could cost minutes.
  if (session.decoder_.input_scan_number > session.scanLimit_) session.GiveUp("Too many scans");
  if (session.keepGoing_ && !(*session.keepGoing_)()) {
    session.stopped_ = true;
    session.GiveUp("Stopped");
  }
}

boolean JpegSession::FillBuffer(j_decompress_ptr decoder) {
  JpegSession& session = Of(reinterpret_cast<j_common_ptr>(decoder));
  const std::int64_t count = session.file_.ReadAt(session.position_, session.buffer_, kBufferBytes);
  // libjpeg's own source would go on with an end marker of its making, and deliver an image that is grey below.
  if (count <= 0) session.GiveUp("Premature end of file");
  session.position_ += count;
  session.source_.next_input_byte = session.buffer_;
  session.source_.bytes_in_buffer = static_cast<std::size_t>(count);
  return TRUE;
}

void JpegSession::SkipBytes(j_decompress_ptr decoder, long count) {
  if (count <= 0) return;
  JpegSession& session = Of(reinterpret_cast<j_common_ptr>(decoder));
  // A segment may be larger than the buffer. The rest is passed over in the file and not read.
  const std::size_t within = std::min(session.source_.bytes_in_buffer, static_cast<std::size_t>(count));
  session.source_.next_input_byte += within;
  session.source_.bytes_in_buffer -= within;
  session.position_ += count - static_cast<long>(within);
}

}  // namespace zrk
