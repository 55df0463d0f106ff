#pragma once

#include "XRSFile.h"
#include "ZRMBand.h"

#include <memory>
#include <vector>

namespace zrk {

/// The lists and records of bands and datasets as whole values. Their public interface can only add to them, while
/// metadata is read beside a dataset and then replaces what it has.
struct FieldAccess {
  static auto& Gis(ZRMBand& band) { return band.gis_; }
  static auto& ScanSensorParam(ZRMBand& band) { return band.scanSensorParam_; }

  static auto& Bands(XRSFile& dataset) { return dataset.bands_; }
  static auto& OpenedStatus(XRSFile& dataset) { return dataset.openedStatus_; }
  static const auto& OpenedStatus(const XRSFile& dataset) { return dataset.openedStatus_; }
  static auto& RadarScene(XRSFile& dataset) { return dataset.radarScene_; }
  static auto& GcpSets(XRSFile& dataset) { return dataset.gcpSets_; }
  static auto& Rois(XRSFile& dataset) { return dataset.rois_; }
  static auto& Sigs(XRSFile& dataset) { return dataset.sigs_; }
  static auto& CorrelationMatrix(XRSFile& dataset) { return dataset.correlationMatrix_; }
  static auto& CovarianceMatrix(XRSFile& dataset) { return dataset.covarianceMatrix_; }
};

}  // namespace zrk
