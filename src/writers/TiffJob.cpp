// What one save of a TIFF file is asked for, and the checks before its file is begun. The dataset comes first, and its
// state is recorded. The window follows. From both follow the form of the file (a palette, a colour image or planes),
// the rows of a block, and the transform of the window.
//
// Two checks can refuse a save: `HasRoom` asks whether the disk has room, and `AreBandsAlike` whether the bands agree
// in size, data type and place. Each failure has the sentence that callers know.

#include "writers/TiffJob.h"

#include "base/Checked.h"
#include "base/Failure.h"
#include "writers/TiffSentences.h"
#include "XRSFile.h"
#include "XSystem.h"

namespace zrk {
namespace {

/// What the band contradicts of the reference, or null. Bands that are placed in the world have to be in one place,
/// since a TIFF file has one georeference for all of them. Numbers are compared exactly: bands of one source got them
/// from the same lines. The order decides which sentence a caller reads.
const char* FindContradiction(const ZRMBand& reference, const ZRMBand& band) {
  const int kind = reference.GetCoordinateKind();
  if (kind == kCoordinateWorld || kind == kReferenceKnown) {
    if (!reference.GetSR()->IsSame(*band.GetSR())) return "Inconsistant Projection System Information";
    if (reference.GetXPixelSize() != band.GetXPixelSize()) return "Inconsistant X Pixel Size Information";
    if (reference.GetYPixelSize() != band.GetYPixelSize()) return "Inconsistant Y Pixel Size Information";
    if (reference.GetULX() != band.GetULX()) return "Inconsistant Upper Left X Information";
    if (reference.GetULY() != band.GetULY()) return "Inconsistant Upper Left Y Information";
  }
  if (reference.GetXSize() != band.GetXSize()) return "Inconsistant Image Width Information";
  if (reference.GetYSize() != band.GetYSize()) return "Inconsistant Image Height Information";
  if (reference.GetDataType() != band.GetDataType()) return "Inconsistant Datatype Information";
  return nullptr;
}

}  // namespace

/// What is recorded here stays as it was when the dataset was handed over. The data type of the first band is the one
/// that is written, and `AreBandsAlike` holds the others to it.
void TiffJob::SetDataset(XRSFile& file) {
  dataset = &file;
  numBands = file.GetNumOfBands();
  xPixelSize = file.GetXPixelSize();
  yPixelSize = file.GetYPixelSize();
  const ZRMBand* first = file.GetBandAt(0);
  dataType = first ? first->GetDataType() : 0;
}

void TiffJob::SetWindow(const Window& asked, const ZRMBand& first) {
  window = asked;
  worldLeft = window.x0;
  worldTop = window.y0;
  first.ConvPixelToWorldCoord(worldLeft, worldTop);
}

ZRMBand* TiffJob::FirstBand() const {
  return dataset ? dataset->GetBandAt(0) : nullptr;
}

/// A thematic band has classes for samples, and only a file of one band can have a table of colours.
bool TiffJob::HasClasses() const {
  const ZRMBand* first = FirstBand();
  return numBands == 1 && first && first->GetBandType() == kBandTypeThematic;
}

/// An exact save makes no bytes of other samples. It has the colours of classes in `colours`.
bool TiffJob::IsPalette() const {
  return HasClasses() && dataset->GetReadPolicy() != kReadExact;
}

/// Three bands of bytes are what every viewer shows as red, green and blue.
bool TiffJob::IsColour() const {
  return numBands == 3 && dataType == kPint08;
}

int TiffJob::SampleBytes() const {
  return XfnGetDataSize(dataType);
}

void TiffJob::GetTransform(double transform[6]) const {
  FirstBand()->GetGeoTransform(transform);
  transform[0] += window.x0 * transform[1] + window.y0 * transform[2];
  transform[3] += window.x0 * transform[4] + window.y0 * transform[5];
}

/// Blocks are also kept to a size in memory, which wide images reach with fewer rows than wanted.
int TiffJob::BlockHeight() const {
  constexpr int kWantedRows = 200;
  return XfnCalcBlockHeight(window.Width(), window.Height(), SampleBytes(), kWantedRows);
}

/// The product of a damaged or foreign dataset can leave 64 bits, and then there is no room for it.
bool HasRoom(const TiffJob& job, XString& err) {
  const ZRMBand* first = job.FirstBand();
  if (!first) return false;
  const std::int64_t pixelBytes = std::int64_t{XfnGetDataSize(first->GetBandType())} * job.numBands;
  const auto row = CheckedMultiply(pixelBytes, job.window.Width());
  const auto bytes = row ? CheckedMultiply(*row, job.window.Height()) : std::nullopt;
  return (bytes && XfnIsDiskSpaceEnough(job.path, *bytes)) || FailWith(err, kDiskFull);
}

/// A band that is missing contradicts nothing here. The read of it fails later, with a sentence of its own.
bool AreBandsAlike(const TiffJob& job, XString& err) {
  const ZRMBand* reference = nullptr;
  for (int i = 0; i < job.numBands; ++i) {
    const ZRMBand* band = job.dataset->GetBandAt(i);
    const char* const contradiction = band && reference ? FindContradiction(*reference, *band) : nullptr;
    if (contradiction) return FailWith(err, contradiction);
    if (!reference) reference = band;
  }
  return reference != nullptr;
}

}  // namespace zrk
