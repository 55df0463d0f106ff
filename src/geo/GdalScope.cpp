#include "geo/GdalScope.h"

#include <cpl_error.h>

namespace zrk {

namespace {

void Collect(CPLErr, CPLErrorNum, const char* message) {
  static_cast<QuietGdal*>(CPLGetErrorHandlerUserData())->Note(message);
}

}  // namespace

QuietGdal::QuietGdal() {
  CPLPushErrorHandlerEx(&Collect, this);
}

QuietGdal::~QuietGdal() {
  CPLPopErrorHandler();
  CPLErrorReset();
}

}  // namespace zrk
