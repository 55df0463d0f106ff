#pragma once

class XThread;

namespace zrk {

/// The reports of a build that inserts records one after the other: after record 0, after each hundredth of the
/// records, and after the last one. A quicker sort makes them while it is under way, in their order and number.
class InsertionReports {
 public:
  /// The thread may be null; then nothing is reported and nothing stops.
  InsertionReports(int count, XThread* thread);

  /// Makes the reports that are due when a share of the work, 0 to 1, is done. False from the report on at which the
  /// thread was asked to stop.
  bool Reach(double share);

  /// How many records the build has inserted where it was stopped.
  int CountInserted() const { return next_ + 1; }

 private:
  bool Report();
  void MoveOn();

  int count_;
  int step_;
  XThread* thread_;
  int next_ = 0;  // the record of the next report; `count_` behind the last one
};

}  // namespace zrk
