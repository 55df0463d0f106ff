#pragma once

#include <string>
#include <vector>

/// A JPEG 2000 image as OpenJPEG itself decodes it.
struct OpjImage {
  struct Component {
    int precision = 0;
    bool isSigned = false;
    int width = 0;
    int height = 0;
    std::vector<int> samples;  ///< row by row
    friend bool operator==(const Component&, const Component&) = default;
  };

  bool isOpen = false;  ///< and decoded
  int width = 0;
  int height = 0;
  std::vector<Component> components;
  int tileWidth = 0;
  int tileHeight = 0;
  int numTiles = 0;
  int numLayers = 0;
  int numLevels = 0;
  bool isReversible = false;
  bool hasColourTransform = false;
  std::vector<std::string> complaints;  ///< warnings and errors
};

/// How much of an image is decoded.
struct OpjRequest {
  bool hasBoxes = true;  ///< otherwise a codestream alone
  int level = 0;
  int numLayers = 0;  ///< 0 for all
};

OpjImage DecodeByOpj(std::vector<unsigned char> bytes, const OpjRequest& request = {});

/// The codestream that OpenJPEG writes, tile by tile, of components that have the same size and precision.
struct OpjWriting {
  int tileSide = 64;
  int numLevels = 2;
  bool isReversible = true;
};
std::vector<unsigned char> EncodeByOpj(const std::vector<OpjImage::Component>& components, const OpjWriting& how);
