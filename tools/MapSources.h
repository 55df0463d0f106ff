#pragma once

#include "XRSFile.h"
#include "XThread.h"
#include "ZRMCompManager.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

/// Images laid over each other in one system, the first on top.
class MapSources {
 public:
  /// `areHeights` shows the first band of each image alone; otherwise red, green and blue where there are three bands.
  explicit MapSources(bool areHeights) : areHeights_(areHeights) {}

  /// The system of the map, and of images that name none. Set it before images are added; otherwise it is that of the
  /// first.
  void SetSystem(const XSpatialReference& sr);
  /// The system of images that name none, where that is not the map's. Such images are refused where it is empty.
  void SetUnnamedSystem(const XSpatialReference& sr) { unnamed_ = sr; }
  /// Opens an image. False with the reason in `err`, such as an image without a place in the system.
  bool Add(const std::string& path, XThread& thread, std::string& err);

  /// It belongs to this object.
  ZRMCompManager& GetManager() { return manager_; }
  /// What the images are, in words that change where what they show does.
  const std::string& GetKey() const { return key_; }
  /// The smallest step from pixel to pixel in the middle of any image, in units of the map, in whatever direction it
  /// is.
  double GetFinestPixel() const { return finestPixel_; }

 private:
  bool TakePlace(XRSFile& file, std::string& err);
  bool Measure(const ZRMBand& band, std::string& err);
  bool Show(const XRSFile& file);

  const bool areHeights_;
  std::optional<XSpatialReference> unnamed_;
  std::vector<std::unique_ptr<XRSFile>> files_;
  ZRMCompManager manager_;  // its composites show bands of the files, and go before them
  double finestPixel_ = 0.0;
  std::string key_;
};
