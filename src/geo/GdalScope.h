#pragma once

#include "XString.h"

namespace zrk {

/// Keeps GDAL, OGR and PROJ from printing on the calling thread for its own lifetime, and remembers their last error.
class QuietGdal {
 public:
  QuietGdal();
  ~QuietGdal();
  QuietGdal(const QuietGdal&) = delete;
  QuietGdal& operator=(const QuietGdal&) = delete;

  /// The text of the last error or warning; empty where there was none.
  const XString& GetLastError() const { return lastError_; }
  void Note(const char* message) { lastError_ = message; }

 private:
  XString lastError_;
};

}  // namespace zrk
