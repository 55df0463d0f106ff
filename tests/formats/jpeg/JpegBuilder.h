#pragma once

#include <vector>

/// Builds JPEG files with libjpeg: `JpegBuilder().Size(32, 24).Grey().Build()`. The picture is smooth, so that decoders
/// agree on it to the last bit where they use the same arithmetic.
class JpegBuilder {
 public:
  JpegBuilder& Size(int width, int height);
  JpegBuilder& Grey();
  /// Two components of no known colour.
  JpegBuilder& TwoComponents();
  /// Four components. With `adobe` an Adobe marker is written and the inks are stored inverted, as such writers do.
  JpegBuilder& Cmyk(bool adobe = true);
  JpegBuilder& Progressive();
  JpegBuilder& Arithmetic();
  JpegBuilder& Quality(int quality);

  std::vector<unsigned char> Build() const;

  /// The sample that component `c` of the pixel had before coding. For CMYK it is the ink, 255 full.
  static unsigned char Sample(int x, int y, int c);

 private:
  int width_ = 32;
  int height_ = 24;
  int components_ = 3;
  bool adobe_ = false;
  bool progressive_ = false;
  bool arithmetic_ = false;
  int quality_ = 90;
};
