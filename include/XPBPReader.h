#pragma once

#include "tagXPlace.h"
#include "XExport.h"
#include "XString.h"

#include <memory>
#include <vector>

class XThread;

namespace zrk {
class PbpFile;
}

/// Finds places in a PBP file (docs/FORMATS.md). The tables of the file are searched by halves. A search reads only the
/// records that it touches, so that a file of any size opens at once.
///
/// Operations answer 1, or 0 with the reason in `err` and the results as they were. Nothing is thrown. The file is not
/// trusted: a search fails if a table names a record beyond the records. A table out of order can hide places, and
/// `XfnCheckPlaces` finds that. Any number of threads may search one object that nothing opens or closes meanwhile.
class ZRKIO_API XPBPReader {
 public:
  XPBPReader();
  ~XPBPReader();
  XPBPReader(const XPBPReader&) = delete;
  XPBPReader& operator=(const XPBPReader&) = delete;

  /// Opens a file in place of the one that was open. A file is refused if it does not begin as a PBP file, or if its
  /// length does not fit the number of its records. Then nothing is open.
  int Open(const XString& path, XString& err);
  void Close();
  bool IsOpen() const { return file_ != nullptr; }

  /// The number of places; 0 where nothing is open. Places count from 0.
  int GetCount() const;
  /// The version character at index 0 or 1, which has no meaning of its own; 0 where nothing is open.
  char GetVersion(int index) const;

  /// The place of a number.
  int ReadPlace(int number, tagXPlace& place, XString& err) const;

  /// The numbers of all places in a box, ascending. Places of which a coordinate is not a number lie in no box. A box
  /// whose edges are not numbers, or whose south edge is above its north edge, is refused.
  int FindInBox(const tagXPlaceBox& box, std::vector<int>& numbers, XString& err) const;

  /// The `count` places that are nearest to a longitude and a latitude in degrees, the nearest first, and of equally
  /// near ones the one that was added first. Distances are those along great circles of a sphere of the earth's mean
  /// radius, 6,371,008.8 m. The first coordinate of each place is taken as its longitude, and the second as its
  /// latitude. Places that are not on earth are left out, so there may be fewer results. A latitude beyond the poles, a
  /// longitude that is not finite, and a count below 1 are refused.
  int FindNearest(double longitude, double latitude, int count, std::vector<tagXPlace>& places, XString& err) const;

 private:
  std::shared_ptr<const zrk::PbpFile> file_;
};

/// Checks a PBP file from end to end: its length against the number of its records, and that each table has every
/// record once and in order. Returns 1 if the check went through, whatever it found; or 0 with the reason in `err`. It
/// returns 0 for a file that is no PBP file, that can't be read, or that has more records than the limits allow
/// (XLimits.h). If the thread was asked to stop, it returns 0 and `err` stays empty. The thread, which may be null, is
/// told the progress. It takes 8 bytes of memory a record.
ZRKIO_API int XfnCheckPlaces(const XString& path, tagXPlaceReport& report, XString& err, XThread* thread = nullptr);
