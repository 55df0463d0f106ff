#pragma once

/// How a call to the disk fails: with an error of the medium, with a full disk, or by moving less than was asked for.
enum class Fault { kNone, kError, kFull, kShort };

/// Which call of a run of the program fails, and how.
struct FaultOrder {
  int call = 0;  ///< counted from 1; 0 for none
  Fault fault = Fault::kNone;
};
