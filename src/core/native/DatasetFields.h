#pragma once

#include "core/native/FieldAccess.h"
#include "core/native/ImageElement.h"
#include "core/native/XmlArchive.h"
#include "XRSFile.h"

#include <array>

namespace zrk {

// The fields of a dataset. Like those of a band they are described once, for writing and for reading.

/// What the caller gave the writer of a file beside the dataset.
struct WriterInfo {
  XString cryptoVaildationInfo;
  std::array<int, 2> flags{};
};

template <class Archive>
void VisitWriterInfo(Archive& archive, WriterInfo& info) {
  archive.Field("XRS_TAG_CRYPTOINFO", info.cryptoVaildationInfo);
  archive.Field("XRS_TAG_WRITERFLAGS", info.flags);
}

/// The image of a level file. Readers that do not know the element pass over it.
inline constexpr char kTagImage[] = "XRS_TAG_IMAGE";

template <class Archive>
void VisitImage(Archive& archive, ImageStamp& stamp) {
  archive.Group(kTagImage, [&stamp](Archive& inner) {
    inner.Attribute("length", stamp.status.length);
    inner.Attribute("modified", stamp.status.modified);
    inner.Attribute("changed", stamp.status.changed);
    inner.Attribute("fingerprint", stamp.fingerprint);
  });
}

template <class Archive>
void VisitRadarScene(Archive& archive, tagXRadarScene& scene) {
  archive.Attribute("satellite", scene.satellite);
  archive.Attribute("beam", scene.beamMode);
  archive.Attribute("polarization", scene.polarization);
  archive.Attribute("orbit", scene.orbitNumber);
  archive.Attribute("ascending", scene.ascending);
  archive.Attribute("right", scene.lookRight);
  archive.Attribute("start", scene.startTime);
  archive.Attribute("stop", scene.stopTime);
}

template <class Archive>
void VisitFileDescription(Archive& archive, XRSFile& dataset) {
  archive.Property("XRS_TAG_VERSION", dataset, &XRSFile::GetVersion, &XRSFile::SetVersion);
  archive.Property("XRS_TAG_DESCRIPTION", dataset, &XRSFile::GetDescription, &XRSFile::SetDescription);
  archive.Property("XRS_TAG_THRESHOLD", dataset, &XRSFile::GetThreshold1, &XRSFile::SetThreshold1);
  archive.Property("XRS_TAG_ATTACHFLAG", dataset, &XRSFile::GetAttatchFlag, &XRSFile::SetAttatchFlag);
  archive.Optional("XRS_TAG_RADARSCENE", FieldAccess::RadarScene(dataset),
                   [](Archive& inner, tagXRadarScene& scene) { VisitRadarScene(inner, scene); });
}

template <class Archive>
void VisitCorrelationMatrix(Archive& archive, XRSFile& dataset) {
  archive.Field("XRS_TAG_CORRELATIONMATRIX", FieldAccess::CorrelationMatrix(dataset));
}

template <class Archive>
void VisitCovarianceMatrix(Archive& archive, XRSFile& dataset) {
  archive.Field("XRS_TAG_COVARIANCEMATRIX", FieldAccess::CovarianceMatrix(dataset));
}

template <class Archive>
void VisitGCPDataSet(Archive& archive, XRSFile& dataset) {
  archive.List("XRS_TAG_GCPSET", FieldAccess::GcpSets(dataset), [](Archive& inner, tagGCPSets& gcps) {
    inner.Attribute("name", gcps.name);
    inner.Field("XRS_TAG_GCPSET_PROJECTIONWKT", gcps.projectionWkt);
    inner.List("XRS_TAG_GCP", gcps.points, [](Archive& element, tagGCP& point) {
      element.Attribute("name", point.name);
      element.Attribute("pixelx", point.pixelX);
      element.Attribute("pixely", point.pixelY);
      element.Attribute("mapx", point.mapX);
      element.Attribute("mapy", point.mapY);
      element.Attribute("mapz", point.mapZ);
      element.Attribute("enabled", point.enabled);
    });
  });
}

/// The name and the colour of a region or a signature.
template <class Archive, class Record>
void VisitLabel(Archive& archive, Record& record) {
  archive.Attribute("name", record.name);
  archive.Attribute("red", record.red);
  archive.Attribute("green", record.green);
  archive.Attribute("blue", record.blue);
}

template <class Archive>
void VisitROIDataSet(Archive& archive, XRSFile& dataset) {
  archive.List("XRS_TAG_ROI", FieldAccess::Rois(dataset), [](Archive& inner, XROI& roi) {
    VisitLabel(inner, roi);
    inner.List("XRS_TAG_ROI_POLYGON", roi.polygons,
               [](Archive& element, XROI::Polygon& polygon) { element.Attribute("points", polygon); });
  });
}

template <class Archive>
void VisitSIGDataSet(Archive& archive, XRSFile& dataset) {
  archive.List("XRS_TAG_SIG", FieldAccess::Sigs(dataset), [](Archive& inner, XRSSIG& sig) {
    VisitLabel(inner, sig);
    inner.Attribute("samples", sig.numSamples);
    inner.Field("XRS_TAG_SIG_MIN", sig.minimum);
    inner.Field("XRS_TAG_SIG_MAX", sig.maximum);
    inner.Field("XRS_TAG_SIG_MEAN", sig.mean);
    inner.Field("XRS_TAG_SIG_COVARIANCE", sig.covariance);
  });
}

}  // namespace zrk
