#pragma once

#include "StandInPicture.h"
#include "XString.h"

#include <string>

// Libraries and plug-ins that stand in for decoders of other makers. The test build makes them (tests/standins).

/// The folder of a kind: "whole", "lacking", "old" or "gdal".
std::string StandInFolder(const std::string& kind);

/// What a loaded stand-in library has counted: "open" images, those "opened" ever, calls for images "shared" by
/// threads, "inits", "decodes".
int CountOfStandIn(const std::string& library, const std::string& name);

/// Has decoders looked for in a folder while it lives.
class ScopedCodecFolder {
 public:
  explicit ScopedCodecFolder(const std::string& folder);
  ~ScopedCodecFolder();
  ScopedCodecFolder(const ScopedCodecFolder&) = delete;
  ScopedCodecFolder& operator=(const ScopedCodecFolder&) = delete;

 private:
  XString before_;
};

/// Has GDAL a driver of the name while it lives.
class ScopedStandInDriver {
 public:
  explicit ScopedStandInDriver(const std::string& name);
  ~ScopedStandInDriver();
  ScopedStandInDriver(const ScopedStandInDriver&) = delete;
  ScopedStandInDriver& operator=(const ScopedStandInDriver&) = delete;

 private:
  std::string name_;
};
