// Work that is gone on with has to find its inputs as they were. Files are told by length and time, since reading them
// would take as long as the work. A level file counts by its length alone: opening an image may renew a time in it.
// What it and other notes tell of an image stands in the bands.

#include "SourceKey.h"

#include "LevelFile.h"
#include "output/InputFiles.h"
#include "XRSFile.h"
#include "ZRMBand.h"

#include <filesystem>
#include <locale>
#include <sstream>

namespace {

void DescribeKeyFile(const std::string& path, bool hasTime, std::ostream& text) {
  std::error_code failure;
  text << path << '|' << std::filesystem::file_size(path, failure);
  if (hasTime) text << '|' << std::filesystem::last_write_time(path, failure).time_since_epoch().count();
  text << '\n';
}

void DescribeKeyBand(const ZRMBand& band, std::ostream& text) {
  double transform[6];
  band.GetGeoTransform(transform);
  text << band.GetXSize() << ' ' << band.GetYSize() << ' ' << band.GetDataType() << ' ' << band.GetColourRole();
  for (const double value : transform) text << ' ' << value;
  text << ' ' << band.GetNullValue() << ' ' << band.GetBandMin() << ' ' << band.GetBandMax() << ' '
       << band.GetBandMean() << ' ' << band.GetBandStdDev() << '\n';
}

}  // namespace

std::string DescribeSource(const std::string& path, const XRSFile& file) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text.precision(17);
  for (const std::string& each : ListInputFiles(path)) DescribeKeyFile(each, each != LevelFileName(path), text);
  for (int i = 0; i < file.GetNumOfBands(); ++i) DescribeKeyBand(*file.GetBandAt(i), text);
  XString wkt;
  if (file.GetNumOfBands() > 0) file.GetBandAt(0)->GetSR()->exportToWkt(wkt);
  text << wkt.AsStdString() << '\n';
  return text.str();
}
