#include "HawkInputs.h"

#include "Inputs.h"
#include "XDataType.h"
#include "XRSFile.h"
#include "ZRMBand2DMem.h"

#include <cmath>
#include <cstdint>
#include <fstream>
#include <memory>

double PoseOfFlight(const HawkFlight& flight, int part, int index) {
  const double shaken = 1e-5 * std::sin(1.7 * index + part);
  switch (part) {
    case 1:
      return flight.metresPerPose * index;
    case 2:
      return 9000.0 + 0.3 * std::sin(0.9 * index);
    case 4:
      return -0.9 + shaken;
    default:
      return part < 3 ? 0.0 : shaken;
  }
}

void WriteFlightDocument(const HawkFlight& flight, const std::string& path) {
  constexpr const char* kNames[] = {"X", "Y", "Z", "Omega", "Phi", "Kappa"};
  std::ofstream out(path);
  out.precision(17);
  out << "<SIF><Pose><CoordSys><OriginInEcf><Point3D x='6378137' y='0' z='0'/></OriginInEcf><RotationEcfToLsr><Matrix>"
         "<Row>0 1 0</Row><Row>0 0 1</Row><Row>1 0 0</Row></Matrix></RotationEcfToLsr></CoordSys><PositionInMeters>";
  for (int part = 0; part < 6; ++part) {
    if (part == 3) out << "</PositionInMeters><AttitudeInRad>";
    out << '<' << kNames[part] << "><Parameter><Original><Value><Grid><Matrix rows='" << HawkFlight::kPoses << "'>";
    for (int i = 0; i < HawkFlight::kPoses; ++i) out << "<Row>" << PoseOfFlight(flight, part, i) << "</Row>";
    out << "</Matrix></Grid></Value></Original></Parameter></" << kNames[part] << '>';
  }
  out << "</AttitudeInRad></Pose><Image><Size lines='" << flight.lines << "' samples='" << flight.samples
      << "'/></Image><InteriorData><FocalLengthInMm><Parameter><Original><Value>1000</Value></Original></Parameter>"
         "</FocalLengthInMm><DetectorCellSizeInMm>"
      << flight.cellSize << "</DetectorCellSizeInMm></InteriorData></SIF>";
  Must(bool(out.flush()), "can't write " + path);
}

XRSFile* MakeWaves(double step, int side, double mean, double swing) {
  auto band = std::make_unique<ZRMBand2DMem>();
  Must(band->SetSourceMemory(side, side, kSint16) != 0, "no memory for heights");
  const tagXArr2& heights = *band->GetSourceMemory();
  for (int y = 0; y < side; ++y) {
    auto* const row = reinterpret_cast<std::int16_t*>(heights.Row(y));
    for (int x = 0; x < side; ++x) {
      row[x] = static_cast<std::int16_t>(mean + swing * std::sin(x / 19.0) * std::cos(y / 23.0));
    }
  }
  band->SetPixelSize(step, step);
  band->SetUpperLeft(0.1 - 0.5 * side * step, 0.5 * side * step);
  band->SetCoordinateKind(kCoordinateWorld);
  auto file = std::make_unique<XRSFile>();
  file->AddBand(band.release());
  return file.release();
}
