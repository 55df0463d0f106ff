#pragma once

#include "XString.h"

/// What is known of a radar acquisition as a whole.
struct tagXRadarScene {
  XString satellite;
  XString beamMode;
  XString polarization;
  int orbitNumber = 0;
  int ascending = 0;       ///< nonzero on an ascending pass
  int lookRight = 1;       ///< nonzero for a sensor that looks to the right
  double startTime = 0.0;  ///< Julian dates
  double stopTime = 0.0;
};
