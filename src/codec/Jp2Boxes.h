#pragma once

#include <array>
#include <cstdint>
#include <string_view>

// The names that the JPEG 2000 file format and its codestream give to their parts. Reader and writer share them.

namespace zrk {

/// The number of a box type: its four characters, the first one in the highest byte.
constexpr std::uint32_t BoxType(std::string_view name) {
  std::uint32_t type = 0;
  for (std::size_t i = 0; i < 4; ++i) type = type << 8 | static_cast<unsigned char>(name[i]);
  return type;
}

inline constexpr std::uint32_t kBoxSignature = BoxType("jP  ");
inline constexpr std::uint32_t kBoxFileType = BoxType("ftyp");
inline constexpr std::uint32_t kBoxHeader = BoxType("jp2h");  ///< holds the boxes from `ihdr` to `res `
inline constexpr std::uint32_t kBoxImageHeader = BoxType("ihdr");
inline constexpr std::uint32_t kBoxBitsPerComponent = BoxType("bpcc");
inline constexpr std::uint32_t kBoxColour = BoxType("colr");
inline constexpr std::uint32_t kBoxPalette = BoxType("pclr");
inline constexpr std::uint32_t kBoxComponentMap = BoxType("cmap");
inline constexpr std::uint32_t kBoxChannels = BoxType("cdef");
inline constexpr std::uint32_t kBoxResolution = BoxType("res ");
inline constexpr std::uint32_t kBoxCodestream = BoxType("jp2c");
inline constexpr std::uint32_t kBoxUuid = BoxType("uuid");
inline constexpr std::uint32_t kBoxXml = BoxType("xml ");
inline constexpr std::uint32_t kBoxAssociation = BoxType("asoc");
inline constexpr std::uint32_t kBoxLabel = BoxType("lbl ");
inline constexpr std::uint32_t kBoxRequirements = BoxType("rreq");

/// What the signature box holds behind its head.
inline constexpr std::uint32_t kBoxSignatureData = 0x0D0A870A;

/// Brands of the file type box.
inline constexpr std::uint32_t kBrandJp2 = BoxType("jp2 ");
inline constexpr std::uint32_t kBrandJpx = BoxType("jpx ");

using BoxUuid = std::array<unsigned char, 16>;

/// A `uuid` box with a small TIFF file whose tags place the image.
inline constexpr BoxUuid kGeoJp2Uuid = {0xB1, 0x4B, 0xF8, 0xBD, 0x08, 0x3D, 0x4B, 0x43,
                                        0xA5, 0xAE, 0x8C, 0xD7, 0xD5, 0xA6, 0xCE, 0x03};
/// A `uuid` box with six numbers that place the image.
inline constexpr BoxUuid kMsigUuid = {0x96, 0xA9, 0xF1, 0xF1, 0xDC, 0x98, 0x40, 0x2D,
                                      0xA7, 0xAE, 0xD6, 0x8E, 0x34, 0x45, 0x18, 0x09};

/// Markers of the codestream.
inline constexpr std::uint16_t kMarkerStart = 0xFF4F;            ///< SOC: the codestream begins
inline constexpr std::uint16_t kMarkerSize = 0xFF51;             ///< SIZ
inline constexpr std::uint16_t kMarkerCoding = 0xFF52;           ///< COD
inline constexpr std::uint16_t kMarkerComponentCoding = 0xFF53;  ///< COC
inline constexpr std::uint16_t kMarkerQuantization = 0xFF5C;     ///< QCD
inline constexpr std::uint16_t kMarkerTileLengths = 0xFF55;      ///< TLM
inline constexpr std::uint16_t kMarkerPacketLengths = 0xFF58;    ///< PLT
inline constexpr std::uint16_t kMarkerOrderChange = 0xFF5F;      ///< POC
inline constexpr std::uint16_t kMarkerPackedHeads = 0xFF60;      ///< PPM
inline constexpr std::uint16_t kMarkerComment = 0xFF64;          ///< COM
inline constexpr std::uint16_t kMarkerTilePart = 0xFF90;         ///< SOT
inline constexpr std::uint16_t kMarkerData = 0xFF93;             ///< SOD
inline constexpr std::uint16_t kMarkerEnd = 0xFFD9;              ///< EOC

}  // namespace zrk
