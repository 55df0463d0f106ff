#pragma once

#include "bands/tiff/TiffLayout.h"
#include "tagXMetadataItem.h"
#include "ZRMBand.h"

#include <string_view>
#include <vector>

#include <tiffio.h>

class XRSFile;
class ZRMBandGTIFF;

namespace zrk {

/// What a channel shows, by the photometric tag and by the kinds of the extra samples, which the tag of that name
/// lists.
XColourRole FindColourRole(const TiffLayout& layout, const std::vector<std::uint16_t>& extraSamples, int channel);

/// The kinds of the samples behind those of the colours, as the tag has them.
std::vector<std::uint16_t> ReadExtraSamples(TIFF* tiff);

/// What the tag 42112 says, an XML text of items. An item with the role "scale" or "offset" is a number of a sample;
/// all others are texts.
struct TiffItems {
  struct Number {
    int sample = 0;
    bool isScale = false;  ///< otherwise an offset
    double value = 0.0;
  };
  std::vector<Number> numbers;
  std::vector<tagXMetadataItem> texts;  ///< those of a sample have its number as their band
};

/// Empty for a text that is refused or is no XML.
TiffItems ParseTiffItems(std::string_view xml);

/// Gives a band that stands alone its gain and bias, of the items in the file.
void TellTiffNumbers(ZRMBandGTIFF& band, TIFF* tiff);

/// Gives the bands of an exact load their gain and bias and the dataset its texts: those of the XML, and those of text
/// tags under names such as "TIFFTAG_SOFTWARE". Compatible loads are left as they are.
void TellTiffTexts(XRSFile& file);

}  // namespace zrk
