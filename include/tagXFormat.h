#pragma once

/// What a format can take when a dataset is saved as a file of it.
struct tagXFormatWriter {
  const char* noun;    ///< what one file is called, as "TIFF file"
  const char* plural;  ///< what several are called, as "TIFF files"
  bool takesLevels;    ///< reduced levels are stored in the file
  bool takesMaxError;  ///< samples can be compressed with a largest error that the caller names
  bool takesAllTypes;  ///< otherwise integer and real samples only
  /// The extension of the world file beside the image that holds its place, as "tfw"; null where the file does.
  const char* worldFile;
  bool takesLayers = false;  ///< how samples are coded, and in what tiles, is told by a `tagXLayerOptions`
  bool keepsNullValues = true;
};

/// One format that the library knows. The records that the library hands out, and their texts, live as long as the
/// program.
struct tagXFormat {
  int id;            ///< of `XFormatId`
  const char* name;  ///< as "Windows bitmap"
  /// As "tif tiff"; a rule in words where the extension alone does not tell; empty where none leads to the format.
  const char* extensions;
  bool isRaster;                  ///< otherwise vector
  bool canRead;                   ///< in this build
  const char* bandClass;          ///< the class behind its bands, as "ZRMBandBMP"; empty where none is built
  bool isKnownByContent = false;  ///< by the first bytes of its files
  /// Samples are heights of the ground, over degrees where no system is known.
  bool holdsHeights = false;
  bool hasOwnLevels = false;                 ///< its files hold reduced levels themselves
  bool listsTiePoints = false;               ///< `XRSFileIO::GetGeoBounding` tells points that a file of it lists
  const tagXFormatWriter* writer = nullptr;  ///< null where datasets can't be saved as such files
};
