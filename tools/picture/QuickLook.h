#pragma once

#include "output/PngWriter.h"
#include "picture/PlaceMarks.h"
#include "Window.h"
#include "XThread.h"
#include "ZRMBand.h"

#include <string>
#include <vector>

/// The shape of the picture of an image: no side longer than `maxSize`, never enlarged, at least one pixel each way.
PngShape FitPicture(int width, int height, int maxSize);

/// How samples become pixels: stretched, or as heights with light on them, see `Hillshade`.
struct Look {
  bool isShaded = false;
  double zFactor = 1.0;
};

/// What a picture shows.
struct View {
  std::vector<ZRMBand*> bands;  ///< one (grey) or three (red, green, blue), of one size
  Window window;                ///< of each of them
  Look look;
  const PlaceMarks* marks = nullptr;  ///< painted over the picture; null for none
  bool showsClasses = false;          ///< the three bands are one of classes, which are shown in their colours
};

/// Writes a picture into `png`, from its beginning to its end. Pixels are means over the area that they stand for,
/// taken at the level that has enough of them. Bands of other than unsigned 8-bit samples are stretched: the mean less
/// and plus two deviations, cut to minimum and maximum, become 0 and 255. What has null samples only is black. A look
/// that is shaded is for one band. Colours of classes come from the image itself, since a level may have means of the
/// numbers, and a null value among them has its colour too. False with the reason in `err`.
bool WriteQuickLook(const View& view, const PngShape& shape, PngWriter& png, XThread& thread, std::string& err);
