#pragma once

/// What befalls a call to the disk. It fails with an error of the medium, finds the disk full, or moves less than was
/// asked for; or it does what it should, and two signals to end come before the program goes on.
enum class Fault { kNone, kError, kFull, kShort, kSignals };

/// Which call of a run of the program something befalls, and what.
struct FaultOrder {
  int call = 0;  ///< counted from 1; 0 for none
  Fault fault = Fault::kNone;
};
