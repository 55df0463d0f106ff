#pragma once

#include "tagXTiffDirectory.h"
#include "XJointReader.h"
#include "XPaletteReader.h"
#include "ZRMBandFile.h"

#include <vector>

struct gtiff;
struct tiff;
class XSpatialReference;
class XThread;

/// One channel of the first image of a TIFF or BigTIFF file.
///
/// A file gives one band for each sample of a pixel. Pixels of a coloured palette give three bands, and so does JPEG in
/// YCbCr. CIE Lab, LogLuv, CMYK and YCbCr without JPEG, of up to 8 bits, come as red, green, blue and alpha. Samples of
/// other than 8, 16, 32, 64 or 128 bits are widened to the next data type. Pixels that lie in a block which can't be
/// read are 0. Nothing is decoded ahead. Decoded blocks are kept only in the memory that `XfnSetBlockCacheBytes`
/// grants. Level n takes every 2^n-th pixel of a block, beginning with the block's first pixel.
///
/// So far the compatible policy. Exact reads fail if a block can't be read. Missing blocks have the null value, or 0.
/// Level n takes the pixels x0 + i * 2^n and y0 + j * 2^n of the image, or those of its reduced images. Samples come in
/// types that hold each value: signed samples keep their sign, and integers of 64 bits become doubles. In an image
/// where 0 is white, 0 stays 0. The tag for samples without data gives the null value.
///
/// Each band decodes for itself, and so does a follower. Many threads may read bands of one file at once, because each
/// reading thread uses a decoder of its own. `CleanupMemory` frees the calling thread's result, the decoders' buffers,
/// and those of the master.
class ZRKIO_API ZRMBandGTIFF : public ZRMBandFile<ZRMBandDRIO>, public XJointReader, public XPaletteReader {
  X_DECLARE_RUNTIME_CLASS
  /// Null makes a master; with a master this is a follower that shares its file, size and place. Not owned.
  explicit ZRMBandGTIFF(ZRMBandGTIFF* master);
  ~ZRMBandGTIFF() override;

  /// Opens a file and places it. Returns 1 or 0. `err` is emptied first and has the reason of a 0, with one exception.
  /// If the file needs a decoder that is not there, `XfnMessageBox` tells the operator, and `err` stays empty. `thread`
  /// is not used.
  int ReadFile(XString path, XString& err, XThread* thread);
  /// Counts the blocks across and down; 0, with both 0, where the sizes of image and blocks make no sense together.
  int InitBlockInfo();

  // Blocks. They are numbered row by row, and where each sample has a plane of its own, plane by plane. The readers
  // below write block width times block height samples, of the band's data type unless they say otherwise. They return
  // 1, or 0 with the reason, if known, in `err`. A block that the file leaves out can't be read.

  /// The decoded bytes of a block as the file packs them, or null if it can't be read. A block that overhangs the image
  /// is whole too, and its missing rows are 0. The bytes are valid until the calling thread's next call. The last two
  /// outputs become -1, and `size` becomes the number of bytes if there are any.
  void* LoadBlockBuf(int block, int& reserved, int& size);
  /// Samples of whole bytes.
  int ReadBlockRaster(int blockX, int blockY, int channel, void* out, XString& err);
  /// Samples of other widths in samples of `dataType`, which is 1, 3 or 5, or 7 for reals of 16 and 24 bits; nothing is
  /// written for other types. Single bits, and integers of 12 and of 24 bits, come as types 1, 3 and 5 whatever is
  /// asked.
  int ReadBlockOddBits(int blockX, int blockY, int channel, int dataType, void* out, XString& err);
  /// A byte of red, green, blue or alpha.
  int ReadBlockRGBA(int blockX, int blockY, int channel, void* out, XString& err);
  /// The first row of a bilevel image that is one tall strip; the others are 0.
  int ReadBlockSplitBitmap(int blockX, int blockY, void* out, XString& err);

  /// libtiff's handle, or null. It belongs to the master, and is for asking tags while no other thread uses it.
  tiff* GetFileTIFF() const;
  /// Entries of the palette, 0 without one. An image in which 0 is white has one that falls.
  int GetNumOfPalette() const;
  /// The master's palette, a value from 0 to 255 for each sample value; null without one.
  void GetPalette(short*& red, short*& green, short*& blue) const;
  /// The channel that this band shows: 0-based, 0 for the master and until it is set.
  int GetChannel() const;
  /// A channel that the file does not have makes reads fail. The band gets the channel's colour role.
  void SetChannel(int channel);
  /// Returns 1 before `ReadFile`.
  int GetNumChannels() const;
  /// The sample of a pixel that this band shows, as it is stored or widened; -1 where it shows a colour that was made
  /// of samples.
  int GetSample() const;

  // What the file's tags say. All 0 before `ReadFile`.

  /// The number of the tag Compression: 1 none, 5 LZW, 7 JPEG, 8 Deflate and others.
  int GetCompreType() const;
  int GetSamplesPerPixel() const;
  int GetBitsPerSample() const;
  /// Returns 1 where the samples of a pixel lie together, 2 where each has a plane of its own.
  int GetPlanarConfiguration() const;
  /// The tag PhotometricInterpretation, as the pixels come out: 3 where a palette stands in for an image in which 0 is
  /// white.
  int GetPhotometric() const;
  int GetSampleFormat() const;
  /// Whether blocks are tiles; otherwise they are strips.
  bool IsTiled() const;
  int GetBlockWidth() const;
  int GetBlockHeight() const;
  int GetBlocksAcross() const;
  int GetBlocksDown() const;

  /// The images that follow the first one in the file, up to `most` of them.
  std::vector<tagXTiffDirectory> GetDirectories(int most) const;
  /// The levels that reduced images hold, inside the file or in one of its name with ".ovr" behind it, in order. Exact
  /// reads take levels from these, and those between from the next finer one. Empty for compatible reads.
  std::vector<int> GetOverviewLevels() const;
  /// A sentence that tells why exact reads don't use the file with ".ovr" behind the name. It is older than the image,
  /// can't be read, or belongs to an image of another size or with other samples. Empty otherwise.
  XString GetOverviewRefusal() const;
  /// What libtiff last had to warn of or to complain about in this file; empty where it had nothing.
  XString GetLastMessage() const;

  /// Places the band by its geokeys, by a world file beside the image, or as plain pixels, whichever is found first.
  /// `err` is set where the band reads exactly and a world file that would place it can't be used. Then it has no
  /// place.
  void ReadCoordinateInfo(XString& err);
  /// Reads the coordinate system out of libgeotiff's key handle: coordinate kind 3 with a system, 2 without. Returns 1,
  /// or -1 for a null handle.
  int ExtractProjection(gtiff* gtif, XSpatialReference* sr);
  /// The upper left corner and the pixel sizes by the world file beside the image; 0, with all as they were, where
  /// there is none.
  int ReadWorldFile(double& ulx, double& uly, double& xSize, double& ySize);

  /// Shared by the bands of a file whose samples lie pixel by pixel: each block is then decoded once for all of them.
  const void* GetJointSource() const override;
  int ReadJointly(std::span<ZRMBand* const> bands, int x0, int x1, int y0, int y1, int* cancel,
                  std::span<tagXArr2*> out) override;

  /// Shared by the bands that show the colours of the first sample.
  const void* GetPaletteSource() const override;
  tagXColourMap GetColourMap() const override;
  std::unique_ptr<ZRMBand> MakeIndexBand() override;

 private:
  struct Impl;
  Impl& GetImpl() const;
};
