#pragma once

#include "XSystem.h"

/// While it lives, nothing is copied out of mappings.
struct WithoutMaps {
  WithoutMaps() { XfnSetMappedReads(false); }
  ~WithoutMaps() { XfnSetMappedReads(true); }
  WithoutMaps(const WithoutMaps&) = delete;
  WithoutMaps& operator=(const WithoutMaps&) = delete;
};
