// The public face of searches in a PBP file. What is asked is held against sense here; `PlaceSearch` does the work.

#include "XPBPReader.h"

#include "base/Failure.h"
#include "base/Fence.h"
#include "writers/names/PbpFile.h"
#include "writers/names/PlaceSearch.h"

#include <cmath>

XPBPReader::XPBPReader() = default;
XPBPReader::~XPBPReader() = default;

int XPBPReader::Open(const XString& path, XString& err) {
  Close();
  return zrk::Fenced(err, [&] {
    std::shared_ptr<const zrk::PbpFile> file = zrk::PbpFile::Open(path);
    if (const XString wrong = file->FindWrongLength(); !wrong.IsEmpty()) throw zrk::PbpFault(wrong.AsStdString());
    file_ = std::move(file);
    return 1;
  });
}

void XPBPReader::Close() {
  file_.reset();
}

int XPBPReader::GetCount() const {
  return file_ ? file_->GetCount() : 0;
}

char XPBPReader::GetVersion(int index) const {
  if (!file_ || index < 0 || index > 1) return 0;
  return file_->GetHead().version[static_cast<std::size_t>(index)];
}

int XPBPReader::ReadPlace(int number, tagXPlace& place, XString& err) const {
  if (number < 0 || number >= GetCount()) return zrk::FailWith(err, "There is no place of that number");
  return zrk::Fenced(err, [&] {
    place = file_->ReadPlace(number);
    return 1;
  });
}

int XPBPReader::FindInBox(const tagXPlaceBox& box, std::vector<int>& numbers, XString& err) const {
  if (!file_) return zrk::FailWith(err, "No file is open");
  if (std::isnan(box.west) || std::isnan(box.east) || !(box.south <= box.north)) {
    return zrk::FailWith(err, "The box has no extent");
  }
  return zrk::Fenced(err, [&] {
    numbers = zrk::FindPlacesInBox(*file_, box);
    return 1;
  });
}

int XPBPReader::FindNearest(double longitude, double latitude, int count, std::vector<tagXPlace>& places,
                            XString& err) const {
  if (!file_) return zrk::FailWith(err, "No file is open");
  if (!std::isfinite(longitude) || !(std::abs(latitude) <= 90.0)) {
    return zrk::FailWith(err, "The place is not on earth");
  }
  if (count < 1) return zrk::FailWith(err, "The number of places is below 1");
  return zrk::Fenced(err, [&] {
    places = zrk::FindNearestPlaces(*file_, longitude, latitude, count);
    return 1;
  });
}
