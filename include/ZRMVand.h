#pragma once

#include "XExport.h"
#include "XObject.h"
#include "XObList.h"
#include "XSpatialReference.h"
#include "XString.h"

#include <cstdint>
#include <vector>

class XRSFile;
class XThread;

/// One layer of a vector file, as far as this library tells of it.
struct tagXVectorLayer {
  XString name;
  std::int64_t numFeatures = 0;
  bool hasExtent = false;  ///< whether the four below are set
  double minX = 0.0;
  double maxX = 0.0;
  double minY = 0.0;
  double maxY = 0.0;
  XString wkt;  ///< empty where the layer has no system
};

/// A vector data set: its layers with their feature counts, extents and systems. Loading goes through OGR.
class ZRKIO_API ZRMVand : public XObject {
  X_DECLARE_RUNTIME_CLASS
  /// The kinds of `LoadFile`.
  enum Kind { kKindXVC = 1, kKindDXF = 2, kKindDGN = 3, kKindDLG = 4, kKindSHP = 5, kKindNITF = 6, kKindKML = 7 };

  ZRMVand();
  ~ZRMVand() override;

  /// Loads a file of that kind. 0 with the reason in `err` where it can't be read, or where this build has no reader
  /// for the kind (1, 4 and 6). The first layer's system becomes that of the set.
  int LoadFile(XString path, int kind, XString& err, XThread* thread);
  /// As `LoadFile`; also appends the objects of the file that are not layers to `objects` and sets `numObjects`. No
  /// kind that can be read has such objects.
  int LoadFileEx(XString path, int kind, XObList& objects, int* numObjects, XString& err, XThread* thread);

  /// 0 before a load and after one that failed.
  int GetNumOfLayers() const { return static_cast<int>(layers_.size()); }
  /// The layer, which belongs to the set, or null outside the list.
  const tagXVectorLayer* GetLayerAt(int index) const;
  /// The extent of all layers; 0, with the outputs as they were, where none has one.
  int GetBoundRect(double& minX, double& maxX, double& minY, double& maxY) const;

  /// The file's title, without folder and extension; empty before a load.
  const XString& GetName() const { return name_; }
  /// The dataset that holds the set, or null; not owned.
  XRSFile* GetXRSFile() const { return owner_; }
  void SetXRSFile(XRSFile* owner) { owner_ = owner; }
  /// The system of the set's coordinates; it belongs to the set.
  XSpatialReference* GetSR() { return &sr_; }
  const XSpatialReference* GetSR() const { return &sr_; }
  void SetSR(const XSpatialReference& sr) { sr_ = sr; }

 private:
  XRSFile* owner_ = nullptr;  // not owned
  XString name_;
  XSpatialReference sr_;
  std::vector<tagXVectorLayer> layers_;
};
