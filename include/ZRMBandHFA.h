#pragma once

#include "XString.h"
#include "ZRMBandFile.h"

#include <memory>
#include <vector>

class XThread;

/// One layer of an ERDAS Imagine file (HFA). Files that it names, with the pixels of large images or with overviews,
/// are read where they lie in its folder or beneath it.
///
/// Each layer has a name, a type and blocks of its own, and reads for itself. Samples of 1, 2 and 4 bits come as a byte
/// each. The upper-left place of the band is the centre of the first pixel. A compressed block that can't be read fails
/// the read. Bytes of a plain block that the file lacks are 0 in compatible reads, and fail exact reads. Any number of
/// threads may read the bands of one file; each reading thread has a handle of its own.
///
/// A compatible read above level 0 takes the overview whose pixels are nearest in size to those asked for, at the
/// overview's own resolution. The result may therefore have another size than a shifted window. Without overviews it
/// takes every 2^n-th pixel, and begins anew in each block. An exact read takes the pixels x0 + i * 2^n and y0 + j *
/// 2^n, from an overview where that is exactly the image reduced by 2^n. Exact reads also tell signed bytes apart and
/// give the null value of the layer.
class ZRKIO_API ZRMBandHFA : public ZRMBandFile<ZRMBandDRIO> {
  X_DECLARE_RUNTIME_CLASS
  /// Null makes the master, which opens the file; `band` is then 0. With a master this is its layer `band`, counted
  /// from 0. The master is not owned.
  ZRMBandHFA(ZRMBandHFA* master, int band);
  ~ZRMBandHFA() override;

  /// Opens a file and takes over size, place, system, name and classes of its first layer. Returns 1 or 0. `err` is
  /// emptied first. In the exact policy `err` has the reason of any failure. In the compatible policy it stays empty if
  /// the file can't be opened, and has a sentence for an image without pixels or beyond the limits. `thread` is not
  /// used.
  int ReadFile(XString path, XString& err, XThread* thread);
  /// Lets go of the file. Bands that share it keep theirs.
  void CloseFileHFA();
  /// Adds a class for each colour of a thematic layer, up to 256 of them, named "GIS 0" and so on. `ReadFile` and the
  /// constructor of a follower call it.
  void LoadHFAThematicInfo();

  /// The number of layers; 0 without a file.
  int GetNumChannels() const;
  /// The layer that this band shows, counted from 0.
  int GetChannel() const;
  int GetBlockWidth() const;
  int GetBlockHeight() const;
  /// The reductions that the file holds of this layer.
  int GetNumOverviews() const;
  /// The levels that exact reads take from overviews, ascending.
  std::vector<int> GetOverviewLevels() const;
  /// Whether the samples are class numbers.
  bool IsThematic() const;
  /// Whether the file packs the samples of this layer as runs.
  bool IsCompressed() const;

 private:
  struct Impl;
  Impl& GetImpl() const;
  void TakeLayer();
  void TakePlace();
  void TakeSystem(const XString& wkt);
};
