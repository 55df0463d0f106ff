#pragma once

#include "formats/rpf/TocFrames.h"
#include "output/PngWriter.h"
#include "XCIBtoc.h"
#include "XThread.h"

#include <string>
#include <vector>

/// A map of the frames of a table of contents, north up, a degree of longitude as long as one of latitude. Boundary
/// rectangles lie where their corners are, smaller ones over larger ones.
class CoveragePicture {
 public:
  /// What is shown in a colour of its own.
  enum Colour : unsigned char { kNothing, kOutline, kNotListed, kThere, kMissing };

  /// The longer side of a picture that asks for more.
  static constexpr int kMaxSide = 8192;

  /// The longer side has `maxSize` pixels. False with the reason in `err`.
  bool Draw(const XCIBtoc& toc, int maxSize, XThread& thread, std::string& err);
  bool Write(PngWriter& png, std::string& err) const;

  const PngShape& GetShape() const { return shape_; }

 private:
  /// Degrees; `east` may pass 180.
  struct Box {
    double west = 0.0, east = 0.0, south = 0.0, north = 0.0;
    double Area() const { return (east - west) * (north - south); }
  };
  struct Rectangle {
    int boundary = 0;
    Box box;
  };
  /// Pixels, the last of which are not part of it.
  struct Pixels {
    int x0 = 0, x1 = 0, y0 = 0, y1 = 0;
  };
  struct Frame {
    FrameCell cell;
    bool isThere = false;
  };

  static bool FindBox(const tagBoundaryRectangleRecordRPF& boundary, Box& box);
  static std::vector<Frame> FindFrames(const XCIBtoc& toc, XThread& thread);
  void SetShape(const std::vector<Rectangle>& rectangles, int maxSize);
  Pixels PixelsOf(const Box& box) const;
  void Fill(const Pixels& pixels, Colour colour);
  void DrawFrames(const XCIBtoc& toc, const Rectangle& rectangle, const std::vector<Frame>& frames);

  PngShape shape_;
  Box extent_;
  double pixelsPerDegree_ = 1.0;
  std::vector<unsigned char> colours_;
};
