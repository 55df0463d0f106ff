#pragma once

#include "XString.h"

/// How a dataset is saved in a format whose writer takes quality layers, as `tagXFormatWriter::takesLayers` tells.
struct tagXLayerOptions {
  bool isLossless = true;  ///< every step of the coding can be undone; without rates, samples are kept as they are
  /// The bits of a pixel, all bands together, up to each layer: ascending numbers above 0 with commas between them.
  /// An empty text, and an empty last place, stand for everything.
  XString rates = "";
  double psnr = 0.0;   ///< in place of rates: the ratio of the peak signal to the noise in decibels; 0 for none
  int numLayers = 0;   ///< 0 stands for as many as there are rates, and for one without any
  int numLevels = -1;  ///< how many reduced levels are written, at most; -1 is the writer's choice
  int tileSide = 0;    ///< in pixels; 0 is the writer's choice
  bool hasGeoreference = true;
  bool hasGml = false;  ///< whether the place is written as a GML text too
};
