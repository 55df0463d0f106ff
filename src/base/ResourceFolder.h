#pragma once

namespace zrk {

/// A number that grows with each call of `XfnSetResourceFolder`: what was opened before is then no longer shared.
unsigned GetResourceGeneration();

}  // namespace zrk
