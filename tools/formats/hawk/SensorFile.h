#pragma once

#include "formats/hawk/HawkActions.h"
#include "XRSFile.h"
#include "XSensorModel.h"
#include "XThread.h"

#include <memory>

/// An image with a sensor model, and the terrain that was asked for.
struct SensorFile {
  std::unique_ptr<XRSFile> file;
  ZRMBand* band = nullptr;
  XSensorModel* model = nullptr;

  /// Opens the image, and terrain and geoid where the options name them. False with the reason in `err`.
  bool Open(const std::string& path, const HawkOptions& options, XThread& thread, std::string& err);
};
