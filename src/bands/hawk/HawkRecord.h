#pragma once

#include "bands/hawk/HawkSensor.h"
#include "XRSScanSensorParam.h"

namespace zrk {

/// The record of a sensor in sample mode: its samples as they are.
XRSScanSensorParam MakeSampleRecord(const HawkDocument& document, const HawkSensor& sensor);
/// The record in polynomial mode: polynomials of the order, from 0 on, that fit the samples best.
XRSScanSensorParam MakePolynomialRecord(const HawkDocument& document, const HawkSensor& sensor, int order);

}  // namespace zrk
