// The order of the groups in a text. Readers find fields by their names and don't need it. All writers take it from
// here, so that the same dataset gives the same bytes.

#include "core/native/SaverGroups.h"

#include "XRSFile.h"
#include "XRSFileSaver.h"

namespace zrk {

void CopyDescription(XRSFileSaver& saver, ZRMBand& band) {
  saver.CopyBandMapInfo(&band);
  saver.CopyBandPixelSize(&band);
  saver.CopyBandSceneOrient(&band);
  saver.CopyBasicSensorParams(&band);
  saver.CopyGainBias(&band);
  saver.CopySunParams(&band);
  saver.CopyGISDataSet(&band);
  saver.CopyImageCenter(&band);
  if (band.IsSarBand()) saver.CopyBandSarParam(&band);
}

void CopyDataset(XRSFileSaver& saver, XRSFile& dataset) {
  saver.CopyFileDescription(&dataset);
  saver.CopyGCPDataSet(&dataset);
  saver.CopyROIDataSetAll(&dataset);
  saver.CopySIGDataSetAll(&dataset);
}

}  // namespace zrk
