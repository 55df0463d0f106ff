#pragma once

#include "XString.h"

/// What the headers of a NITF or NSIF file tell, as the file has it and without the blanks behind it. The image is the
/// first one of the file.
struct tagXNitfInfo {
  XString version;              ///< as "NITF02.10"
  XString title;                ///< of the file
  XString classification;       ///< of the file: U, R, C, S or T
  XString imageId;              ///< the short name of the image
  XString imageTitle;           ///< its long name
  XString imageClassification;  ///< as that of the file
  XString representation;       ///< as "MONO", "RGB" or "RGB/LUT"
  XString category;             ///< as "VIS"
  XString compression;          ///< as "NC" for none, "C3" for JPEG or "C8" for JPEG 2000
  XString rate;                 ///< of compression, as the file tells it; empty for images without compression
  int blockWidth = 0;           ///< that of the image where it is one block
  int blockHeight = 0;
  int numImages = 0;
  int numGraphics = 0;
  int numLabels = 0;
  int numTexts = 0;
  int numExtensions = 0;  ///< data extension segments
  int numReserved = 0;    ///< reserved extension segments
};
