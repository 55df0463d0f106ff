#pragma once

#include "tagXFormat.h"
#include "tagXLayerOptions.h"

#include <optional>
#include <vector>

class Command;

/// What a command line says of quality layers and tiles.
struct LayerRequest {
  bool isLossless = false;
  std::vector<double> rates;
  std::optional<double> psnr;
  std::optional<int> numLayers;
  std::optional<int> tileSide;
  bool isWithoutPlace = false;
  bool hasGml = false;
};

void AddLayerOptions(Command& command, LayerRequest& request);
/// Refuses what the writer does not take, and what makes no sense for any.
void CheckLayerOptions(const LayerRequest& request, const tagXFormatWriter& writer);
/// For the library. Samples are kept as they are unless a rate or a quality is given.
tagXLayerOptions MakeLayerOptions(const LayerRequest& request, std::optional<int> numLevels);
