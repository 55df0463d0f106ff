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
  /// As the file has it; it may be empty, and two layers may have the same.
  XString name;
  /// Features in the layer, those without a geometry counted in.
  std::int64_t numFeatures = 0;
  bool hasExtent = false;  ///< whether the four below are set
  /// The outer edges of all geometries, in the layer's own system. 0.0 without an extent.
  double minX = 0.0;
  double maxX = 0.0;
  double minY = 0.0;
  double maxY = 0.0;
  /// The layer's system as WKT; empty for a layer without one.
  XString wkt;
};

/// A vector data set: its layers with their feature counts, extents and systems. Features themselves are not kept.
/// Loading goes through OGR.
///
/// Several threads may load at once, each its own set. After that many threads may ask one set. A set that was added to
/// a dataset is deleted by it.
class ZRKIO_API ZRMVand : public XObject {
  X_DECLARE_RUNTIME_CLASS
  /// The kinds of `LoadFile`, one for each vector format. A build may lack the reader of some.
  enum Kind { kKindXVC = 1, kKindDXF = 2, kKindDGN = 3, kKindDLG = 4, kKindSHP = 5, kKindNITF = 6, kKindKML = 7 };

  ZRMVand();
  ~ZRMVand() override;

  /// Loads a file of that kind. Returns 0 with the reason in `err` where it can't be read, or where this build has no
  /// reader for the kind (1, 4 and 6). The first layer's system becomes that of the set. A set that held another file
  /// is emptied first, and a load that fails leaves it empty. A load that `thread` stops gives 0 and empties `err`.
  int LoadFile(XString path, int kind, XString& err, XThread* thread);
  /// As `LoadFile`; also appends the objects of the file that are not layers to `objects` and sets `numObjects`. No
  /// kind that can be read has such objects. `numObjects` may be null.
  int LoadFileEx(XString path, int kind, XObList& objects, int* numObjects, XString& err, XThread* thread);

  /// Returns 0 before a load and after one that failed.
  int GetNumOfLayers() const { return static_cast<int>(layers_.size()); }
  /// The layer, which belongs to the set and is valid until the next load; null for an index outside the list.
  const tagXVectorLayer* GetLayerAt(int index) const;
  /// The extent of all layers that have one, taken as if they were of one system. Returns 0, with the outputs as they
  /// were, where no layer has one.
  int GetBoundRect(double& minX, double& maxX, double& minY, double& maxY) const;

  /// The path of the file, as it was given to the load; empty before a load.
  const XString& GetName() const { return name_; }
  /// The dataset that holds the set, or null; not owned.
  XRSFile* GetXRSFile() const { return owner_; }
  /// `XRSFile::AddVand` calls it. A set of no dataset works as well.
  void SetXRSFile(XRSFile* owner) { owner_ = owner; }
  /// The system of the set's coordinates. It belongs to the set; a load sets it to that of the first layer.
  XSpatialReference* GetSR() { return &sr_; }
  const XSpatialReference* GetSR() const { return &sr_; }
  /// Copies the system, and converts no coordinates.
  void SetSR(const XSpatialReference& sr) { sr_ = sr; }

 private:
  XRSFile* owner_ = nullptr;  // not owned
  XString name_;
  XSpatialReference sr_;
  std::vector<tagXVectorLayer> layers_;
};
