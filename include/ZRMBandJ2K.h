#pragma once

#include "tagGCPSets.h"
#include "ZRMBandChannels.h"

#include <cstdint>
#include <vector>

class XSpatialReference;
class XThread;

/// A box of a JPEG 2000 file, as its head tells it.
struct tagXJp2Box {
  XString type;               ///< four characters; a dot stands in place of one that can't be printed
  std::int64_t offset = 0;    ///< of the head in the file
  std::int64_t numBytes = 0;  ///< with the head, as far as the file has them
  int depth = 0;              ///< how many boxes this one lies within
  XString name;               ///< of what is known by an identifier or a label, as "GeoJP2"; mostly empty
  XString text;               ///< of a text box
};

/// How a codestream is made.
struct tagXJp2Codestream {
  struct Component {
    int depth = 0;  ///< bits of a sample
    bool isSigned = false;
    int dx = 1;  ///< columns and rows of the reference grid for a sample
    int dy = 1;
  };
  std::vector<Component> components;
  int tileWidth = 0;  ///< on the reference grid; of the image where it is one tile
  int tileHeight = 0;
  int tilesAcross = 0;
  int tilesDown = 0;
  int numLevels = 0;  ///< resolutions below the full one
  int numLayers = 0;
  XString progression;        ///< the order of the data, as "LRCP"
  bool isReversible = false;  ///< whether the transform keeps all bits, as that of files without loss
};

/// One component of a JPEG 2000 file or codestream. Samples of up to 16 bits are read.
///
/// Level n is the codestream's own resolution 2^n times below the full one. Its samples lie at the multiples of 2^n of
/// the component's grid, which begins where the image lies on the reference grid. A window gives (x1 - x0 + 1) >> n
/// columns from the first one on that lies in it. A level that the codestream does not have fails. Level data is never
/// asked for pixels. Palettes and definitions of channels are not applied.
///
/// Under the compatible policy all channels have the type of the first one, and samples of another depth are shifted to
/// its depth. Where components differ in size or place there is one channel. The first read of a window through the
/// master gives the last channel, and further ones give its own. Tiles that are missing are 0, and those that the file
/// cuts short are decoded as far as they go.
///
/// Under the exact policy each channel has its own type, the samples of smaller components are repeated, and tiles that
/// are not whole fail. The place is kept with its rotation, and a file fails to open where it may have a place that
/// can't be read.
///
/// Any number of threads may read the bands of one file at once, each with decoders of its own.
class ZRKIO_API ZRMBandJ2K : public ZRMBandChannels<ZRMBandDRIO> {
  X_DECLARE_RUNTIME_CLASS
  /// Null makes a master, and `channels` is the number of its channels until a file is open. With a master this is a
  /// follower that shows channel `channels` and shares the master's size, place and type. Not owned.
  explicit ZRMBandJ2K(ZRMBandJ2K* master, int channels = 0);
  ~ZRMBandJ2K() override;

  /// Opens a file and places it. Returns 1, or 0 with the reason in `err`, which is "Unable to open input file" for a
  /// file that can't be opened. A 1 may have a sentence too: where components differ in size and only the first one is
  /// shown. `thread` is not used.
  int ReadFile(XString path, XString& err, XThread* thread);
  /// Gives up the file. Reads fail from then on.
  void Close();

  using ZRMBandChannels::ReadSubset;
  int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) override;
  using ZRMBandChannels::GetLevel;
  /// The resolutions that all components have below the full one; 0 without a file.
  int GetLevel() override;

  /// Under the exact policy the data type follows the channel.
  void SetChannel(int channel);
  int GetNumChannels() const;
  /// The bits of a sample of the first component. Under the compatible policy, samples are shifted to what is set.
  int GetDataPrecision() const;
  void SetDataPrecision(int precision);
  /// How many threads may decode a window, of those that `XfnSetWorkerCount` grants; all of them where it is below 0,
  /// as at first.
  int GetNumThread() const;
  void SetNumThread(int numThreads);
  /// 0 to decode on the calling thread alone; 1 at first.
  int GetThreadEnv() const;
  void SetThreadEnv(int threadEnv);

  /// Finds the georeference of an image of that size in the boxes of a file. `left` and `upper` get the centre of its
  /// first pixel, and `right` and `lower` the centre of its last pixel. The pixel sizes follow. A box that has a
  /// transform and no system that is known gives plain pixels. Returns 1, or 0 where no box places the image; the
  /// outputs stay as they were then.
  int ReadBoxes(XString path, int width, int height, XSpatialReference* sr, double& left, double& lower, double& right,
                double& upper, double& xSize, double& ySize);
  /// Takes apart the data of a GeoJP2 box, which is a TIFF file of `size` bytes. `transform` has room for six numbers:
  /// x, its step by column, its step by row, y, its step by column, its step by row. Tie points without a scale go to
  /// `gcps`, which may be null. Returns 1, also where no tag tells a place; 0 for data that is no TIFF file, and for
  /// null.
  int ParseJP2GeoTIFF(int size, char* data, XString& wkt, double* transform, tagGCPSets* gcps);
  /// Takes apart the data of an MSIG box. Returns 1, or 0 where there are fewer than 70 bytes, and for null.
  int ParseMSIG(int size, char* data, double* transform);

  /// What a channel shows, by what the file says of colours.
  XColourRole GetRoleOf(int channel) const;
  /// How the codestream is made; without components where no file is open.
  tagXJp2Codestream GetCodestreamInfo() const;
  /// The points that a file lists in place of a transform, named "JP2 TiePoints"; null where it has none.
  const tagGCPSets* GetTiePoints() const;
  /// The boxes of the file in their order, each followed by those within it, with their texts, which are read by this
  /// call. Empty for a codestream.
  std::vector<tagXJp2Box> ListBoxes() const;

 private:
  struct Impl;
  Impl& GetImpl() const;
  int Open(const XString& path, XString& err);
};
