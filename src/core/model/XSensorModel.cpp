#include "XSensorModel.h"

#include "ZRMBand.h"

XSensorModel::~XSensorModel() = default;

/// The model is a second face of the band's class. A band that could not load its metadata has the face and no model.
XSensorModel* XfnFindSensorModel(ZRMBand* band) {
  return band && band->GetUseSensorModel() ? dynamic_cast<XSensorModel*>(band) : nullptr;
}
