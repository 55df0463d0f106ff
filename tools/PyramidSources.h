#pragma once

#include "XRSFile.h"
#include "XThread.h"
#include "ZRMCompManager.h"

#include <memory>
#include <string>
#include <vector>

/// The inputs of a pyramid, laid over each other: the first on top.
class PyramidSources {
 public:
  /// `system` is that of inputs without one; null where none was given.
  PyramidSources(bool areHeights, const XSpatialReference* system);

  /// Opens the inputs. Takes the first percentages where images are decoded as a whole. False with the reason in `err`.
  bool Open(const std::vector<std::string>& paths, XThread& thread, std::string& err);

  /// Shows them in longitude and latitude on WGS 84. It belongs to this object.
  ZRMCompManager& GetManager() { return manager_; }
  /// The finest pixel of all inputs, in degrees.
  double GetFinestPixel() const { return finestPixel_; }
  /// Names, lengths and times of the inputs, in words that change where one of them does.
  const std::string& GetKey() const { return key_; }

 private:
  bool Add(const std::string& path, XThread& thread, std::string& err);
  bool Place(XRSFile& file, std::string& err) const;
  bool Measure(ZRMBand& band, std::string& err);
  bool Compose(const XRSFile& file);

  bool areHeights_;
  const XSpatialReference* system_;
  XSpatialReference lonLat_;
  std::vector<std::unique_ptr<XRSFile>> files_;
  ZRMCompManager manager_;  // goes before the files whose bands it shows
  double finestPixel_ = 0.0;
  std::string key_;
};
