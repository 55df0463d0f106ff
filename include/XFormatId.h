#pragma once

/// What a file is, by its extension, by its first bytes, or by the caller's word. The numbers are part of the interface
/// and do not change. An id says nothing of what this build can read: `XfnFindFormat` gives the record of an id, which
/// tells that.
enum XFormatId {
  /// No format: an unknown extension.
  kFormatNone = -1,
  /// Raster formats, from 0x65 on. The native raster is the one that keeps all fields of a dataset.
  kFormatZRM = 0x65,
  /// TIFF and GeoTIFF, BigTIFF among them.
  kFormatTIF = 0x66,
  /// JPEG and Windows bitmaps. A world file beside the image is their georeference.
  kFormatJPG = 0x67,
  kFormatBMP = 0x68,
  /// Terrain heights of one cell.
  kFormatDTED = 0x69,
  /// Wavelet images.
  kFormatSID = 0x6A,
  kFormatJP2 = 0x6B,
  /// Single frames of raster map products: grey images, and maps in colour.
  kFormatCIB = 0x6C,
  kFormatCADRG = 0x6D,
  /// No extension leads to these two.
  kFormatHAWK = 0x6E,
  kFormatNITFIMG = 0x6F,
  /// HFA files have the extension "img".
  kFormatHFA = 0x70,
  /// No extension leads here. The first bytes of a file do.
  kFormatHDF4 = 0x71,
  kFormatECW = 0x72,
  /// Tile pyramids and a tile store of the family's other modules.
  kFormatPBI = 0x73,
  kFormatPBE = 0x74,
  kFormatTXID = 0x75,
  /// Vector formats, from 0x3E9 on.
  kFormatXVC = 0x3E9,
  /// Shapefiles; the tables beside the file belong to it.
  kFormatSHP = 0x3EA,
  /// Drawings. They have no system of their own: the caller gives it.
  kFormatDGN = 0x3EB,
  kFormatDLG = 0x3EC,
  kFormatDXF = 0x3ED,
  /// These two are known by their extension, but `XRSFileIO::LoadFileVector` refuses them: they have loaders of their
  /// own.
  kFormatNITF = 0x3EE,
  kFormatKML = 0x3EF,
};
