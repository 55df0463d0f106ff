// JPEG to rows of planes, from the top down. Grey gives one plane, and colour three. Four inks give three planes too:
// they are mixed to red, green and blue without a colour profile. libjpeg decodes and turns luminance and chrominance
// into colour. This file chooses its output, takes pixels apart, and refuses files that promise too much. Where the
// rows go is the caller's matter.
//
// A file is decoded as a whole or fails. Data that is cut or damaged fails as well, because a grey lower half has no
// mark on it that says it is not data (docs/decisions/0005). Each call has a session of its own, and so any number of
// files may be decoded at a time.
//
// Steps that run inside `JpegSession::Run` own nothing, since libjpeg leaves them by a jump.

#include "codec/JpegDecoder.h"

#include "base/Disk.h"
#include "codec/JpegSession.h"
#include "math/Interleave.h"
#include "XLimits.h"

#include <algorithm>
#include <memory>

namespace zrk {

namespace {

/// The product of two bytes taken as fractions of 255, rounded.
unsigned char MultiplyFractions(unsigned a, unsigned b) {
  return static_cast<unsigned char>((a * b + 127) / 255);
}

/// Mixes cyan, magenta, yellow and black to red, green and blue. Writers that leave an Adobe marker store the inks
/// inverted.
void SplitCmyk(const JSAMPLE* source, std::size_t count, bool inverted, unsigned char* const target[3]) {
  const unsigned flip = inverted ? 0 : 255;
  for (std::size_t i = 0; i < count; ++i, source += 4) {
    const unsigned black = source[3] ^ flip;
    for (int c = 0; c < 3; ++c) target[c][i] = MultiplyFractions(source[c] ^ flip, black);
  }
}

/// Whether the file is long enough for what its header promises, so that a small file can't ask for much memory. A
/// coded block takes at least one bit. Arithmetic coding has no such bound, and passes.
bool CanHoldImage(const jpeg_decompress_struct& decoder, std::int64_t fileBytes) {
  if (decoder.arith_code) return true;
  const auto unitsAcross = [](JDIMENSION samples, int factor) {
    const std::int64_t unit = std::int64_t{DCTSIZE} * std::max(factor, 1);
    return (std::int64_t{samples} + unit - 1) / unit;
  };
  const std::int64_t units = unitsAcross(decoder.image_width, decoder.max_h_samp_factor) *
                             unitsAcross(decoder.image_height, decoder.max_v_samp_factor);
  return units / 8 <= fileBytes;
}

bool IsSupported(const jpeg_decompress_struct& decoder) {
  return decoder.num_components == 1 || decoder.num_components == 3 || decoder.num_components == 4;
}

XString HeaderFailure(const JpegSession& session) {
  XString text;
  text.Format("Can't read JPEG header : %s", session.GetError().GetText());
  return text;
}

/// Reads all rows; false where the watch ended it. Rows of grey go straight to their place. Colour comes as whole
/// pixels and is split.
bool ReadRows(jpeg_decompress_struct& decoder, const JpegWatch& watch, JpegRows& rows) {
  const std::size_t width = decoder.output_width;
  const JDIMENSION samples = decoder.output_width * static_cast<JDIMENSION>(decoder.output_components);
  // The row is libjpeg's memory and goes with its image, also after a jump.
  JSAMPARRAY row = (*decoder.mem->alloc_sarray)(reinterpret_cast<j_common_ptr>(&decoder), JPOOL_IMAGE, samples, 1);
  while (decoder.output_scanline < decoder.output_height) {
    const int y = static_cast<int>(decoder.output_scanline);
    if (decoder.output_components == 1) {
      JSAMPROW target = rows.RowOf(0, y);
      jpeg_read_scanlines(&decoder, &target, 1);
    } else {
      jpeg_read_scanlines(&decoder, row, 1);
      unsigned char* const target[3] = {rows.RowOf(0, y), rows.RowOf(1, y), rows.RowOf(2, y)};
      if (decoder.output_components == 3) {
        SplitPixels3(row[0], width, target[0], target[1], target[2]);
      } else {
        SplitCmyk(row[0], width, decoder.saw_Adobe_marker, target);
      }
    }
    rows.Take(y);
    if (watch.keepGoing && !watch.keepGoing()) return false;
    if (watch.reportRow) watch.reportRow(y);
  }
  return true;
}

void ChooseOutput(jpeg_decompress_struct& decoder) {
  // Grey needs no conversion. libjpeg makes colour of every file of three components. It leaves mixing inks to us.
  decoder.out_color_space = decoder.num_components == 1   ? JCS_GRAYSCALE
                            : decoder.num_components == 3 ? JCS_RGB
                                                          : JCS_CMYK;
}

}  // namespace

JpegRows::~JpegRows() = default;

int ReadJpegHeader(DiskFile& file, JpegHeader& header, XString& err) {
  const auto session = std::make_unique<JpegSession>(file);
  if (!session->Run([](jpeg_decompress_struct& decoder) { jpeg_read_header(&decoder, TRUE); })) {
    err = HeaderFailure(*session);
    return 0;
  }
  const jpeg_decompress_struct& decoder = session->GetDecoder();
  if (!IsSupported(decoder)) {
    err.Format("Not supported number of components: %d", decoder.num_components);
    return 0;
  }
  if (std::int64_t{decoder.image_width} * std::int64_t{decoder.image_height} > XfnGetLimits().imagePixels) {
    err = "Image is too large";
    return 0;
  }
  header.width = static_cast<int>(decoder.image_width);
  header.height = static_cast<int>(decoder.image_height);
  header.numChannels = decoder.num_components == 1 ? 1 : 3;
  return 1;
}

int DecodeJpeg(DiskFile& file, const JpegWatch& watch, JpegRows& rows, XString& err) {
  const auto session = std::make_unique<JpegSession>(file);
  jpeg_decompress_struct& decoder = session->GetDecoder();
  if (watch.keepGoing) session->SetKeepGoing(&watch.keepGoing);
  session->SetAnyWarningFails(watch.anyWarningFails);

  const bool hasHeader = session->Run([](jpeg_decompress_struct& d) { jpeg_read_header(&d, TRUE); });
  if (!hasHeader || !IsSupported(decoder)) {
    err = HeaderFailure(*session);
    return 0;
  }
  if (!CanHoldImage(decoder, file.Size())) {
    err = "File is too short for its image";
    return 0;
  }
  const int width = static_cast<int>(decoder.image_width), height = static_cast<int>(decoder.image_height);
  // Room is made outside of libjpeg's steps, so that a jump can't lose it.
  if (!rows.Begin(width, height, decoder.num_components == 1 ? 1 : 3)) {
    err = "Can't make room for the image";
    return 0;
  }
  bool isStopped = false;
  const bool isWhole = session->Run([&](jpeg_decompress_struct& d) {
    ChooseOutput(d);
    jpeg_start_decompress(&d);
    isStopped = !ReadRows(d, watch, rows);
    if (!isStopped) jpeg_finish_decompress(&d);
  });
  if (isWhole && !isStopped) return 1;
  err = isStopped || session->WasStopped() ? XString() : session->GetError();
  return 0;
}

}  // namespace zrk
