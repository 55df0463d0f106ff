#pragma once

#include <vector>

/// Parameters of a radar image. Frequencies in hertz, times in seconds, angles in degrees, lengths in metres.
struct XSarParam {
  int mode = 0;  ///< 0 where the band is not of a radar
  double carrierFrequency = 0.0;
  double chirpBandWidth = 0.0;
  double chirpDuration = 0.0;
  int upChirp = 0;  ///< nonzero where the frequency rises
  double samplingFrequency = 0.0;
  double prf = 0.0;              ///< pulse repetition frequency
  double incidenceAngleN = 0.0;  ///< at near range
  double incidenceAngleC = 0.0;  ///< at the centre
  double incidenceAngleF = 0.0;  ///< at far range
  double squintAngle = 0.0;
  double antennaLength[2] = {0.0, 0.0};
  double apertureTime[2] = {0.0, 0.0};
};

/// The gain pattern of a radar beam: gains in decibel at evenly spaced off-boresight angles in degrees.
struct XSarBeam {
  int beamNumber = 0;
  double firstAngle = 0.0;
  double angleStep = 0.0;
  std::vector<double> gains;
};
