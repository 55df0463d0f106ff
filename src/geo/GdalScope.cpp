#include "geo/GdalScope.h"

#include <ogr_srs_api.h>
#include <exception>
#include <mutex>

namespace zrk {

namespace {

void Collect(CPLErr severity, CPLErrorNum, const char* message) {
  static_cast<QuietGdal*>(CPLGetErrorHandlerUserData())->Note(severity, message);
}

}  // namespace

QuietGdal::QuietGdal() {
  CPLPushErrorHandlerEx(&Collect, this);
}

QuietGdal::~QuietGdal() {
  CPLPopErrorHandler();
}

void QuietGdal::Note(CPLErr severity, const char* message) noexcept {
  // GDAL does not expect exceptions from this, so nothing may be thrown. A warning never takes the place of an error.
  if (severity < CE_Warning || severity < severity_) return;
  try {
    lastError_ = message;
    severity_ = severity;
  } catch (const std::exception&) {
    // Without memory for the sentence the failure is told without it.
    lastError_.Empty();
  }
}

void SwitchNetworkOff() {
  static std::once_flag once;
  std::call_once(once, [] { OSRSetPROJEnableNetwork(0); });
}

}  // namespace zrk
