#pragma once

#include "XString.h"

/// What is known of a radar acquisition as a whole; what is known of one band is in `XSarParam`. A dataset that a
/// record is given to owns it. Native files keep all fields. The library computes nothing from them.
struct tagXRadarScene {
  /// The platform. All three names are as the source of the image has them, and empty for unknown ones.
  XString satellite;
  /// Which beam or swath was used.
  XString beamMode;
  /// As "HH" or "VV": sent and received.
  XString polarization;
  /// Revolutions since launch as the operator counts them; 0 for an unknown number.
  int orbitNumber = 0;
  /// Nonzero where the platform flew from south to north.
  int ascending = 0;
  /// Nonzero for a sensor that looks to the right of its flight, 0 for one that looks to the left.
  int lookRight = 1;
  /// When the acquisition began and ended, as Julian dates in days; 0.0 for an unknown time.
  double startTime = 0.0;
  double stopTime = 0.0;
};
