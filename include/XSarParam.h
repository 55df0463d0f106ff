#pragma once

#include <vector>

/// Parameters of a radar image. Frequencies are in hertz, times in seconds, angles in degrees and lengths in metres. A
/// value of 0 stands for one that is not known. The library carries these values from file to file and computes nothing
/// from them but the wavelength, `ZRMBand::GetLambda`. A copy is deep.
struct XSarParam {
  /// The acquisition mode, as the file numbers them. 0 says that the band is no radar image, whatever the other fields
  /// hold.
  int mode = 0;
  /// The frequency of the middle of the transmitted band.
  double carrierFrequency = 0.0;
  /// The range of frequencies that a pulse sweeps, and the time that it takes.
  double chirpBandWidth = 0.0;
  double chirpDuration = 0.0;
  /// Nonzero where the frequency rises within a pulse, 0 where it falls.
  int upChirp = 0;
  /// Samples a second of the received signal.
  double samplingFrequency = 0.0;
  /// Pulses a second: the pulse repetition frequency.
  double prf = 0.0;
  /// The angles between the line of sight and the vertical, at the near edge, the centre and the far edge of the swath.
  double incidenceAngleN = 0.0;
  double incidenceAngleC = 0.0;
  double incidenceAngleF = 0.0;
  /// The angle between the line of sight and the plane across the track.
  double squintAngle = 0.0;
  /// The lengths of the antenna: along the track, then across it.
  double antennaLength[2] = {0.0, 0.0};
  /// The times of the first and of the last pulse that the image was made of.
  double apertureTime[2] = {0.0, 0.0};
};

/// The gain pattern of a radar beam. Gain i belongs to the angle `firstAngle` + i * `angleStep`, in degrees off the
/// direction of the beam. An empty list stands for an unknown pattern.
struct XSarBeam {
  /// The beam, as the operator numbers them.
  int beamNumber = 0;
  /// The angle of the first gain, which may be negative, and the step to the next.
  double firstAngle = 0.0;
  double angleStep = 0.0;
  /// The gains in decibels.
  std::vector<double> gains;
};
