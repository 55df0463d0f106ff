// A stand-in for a plug-in of GDAL's: a driver of the name that STAND_IN_DRIVER tells.

#include "StandInDriver.h"

extern "C" __attribute__((visibility("default"))) void GDALRegisterMe() {
  RegisterStandInDriver(STAND_IN_DRIVER);
}
