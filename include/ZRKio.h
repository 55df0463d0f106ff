#pragma once

// Everything that the library offers, and first a guide: the ten calls that most programs need, in the order in which
// a program comes to them. Results are 1 for success and 0 for failure, with the reason in `err`. Windows are
// inclusive, x0 to x1 and y0 to y1, in full-resolution pixels whatever the level; level n means a reduction of 2^n.
//
//  1. XRSFile file;                                    a dataset: it owns its bands and the open file
//  2. XfnOpenFile(&file, path, err, nullptr)           opens whatever the file is, known by its content
//  3. file.GetNumOfBands(), file.GetBandAt(i)          a band for each channel, which stays the dataset's
//  4. band->GetXSize(), GetYSize(), GetDataType()      pixels, and the type of a sample (XDataType.h)
//  5. band->GetHighestLevelForTarget(x0, x1, y0, y1, width, height)
//                                                      the level to read for a picture of width by height
//  6. band->ReadSubset(out, level, x0, x1, y0, y1, nullptr)
//                                                      samples of a window; `out` stays the band's until the
//                                                      thread's next read of the file
//  7. out->Row(y)                                      its rows: out->ySize of out->xSize samples
//  8. band->ConvPixelToWorldCoord(x, y), band->GetSR() a pixel's place in the world, and the system that it is in
//  9. band->CalcStatistics(1)                          minimum, maximum, mean, deviation and histogram
// 10. XRSFileIO::SaveFileTiff(...)                     writes a window of all bands to a file; XfnGetFormats() tells
//                                                      what can be read and written
//
// Reads are compatible unless a program asks for exact ones first: XfnSetDefaultReadPolicy(kReadExact). These give what
// the file says or fail, and XfnGetLastReadError tells why a read failed.
//
// Many threads may read one band, or several of one file; a dataset is opened and changed by one thread. Files of
// strangers are read under limits (XLimits.h). Nothing is thrown but by what says so.

#include "tagBoundaryRectangleRecordRPF.h"
#include "tagColortableIndexRecordRPF.h"
#include "tagFrameFileIndexRecordRPF.h"
#include "tagGCPSets.h"
#include "tagPathnameRecordRPF.h"
#include "tagTxiInfo.h"
#include "tagVirtualTileGrid.h"
#include "tagXArr1.h"
#include "tagXArr2.h"
#include "tagXArr3.h"
#include "tagXFormat.h"
#include "tagXFormatNotes.h"
#include "tagXMetadataItem.h"
#include "tagXRadarScene.h"
#include "tagXRSGIS.h"
#include "tagXTiffDirectory.h"
#include "tagXTileLevel.h"
#include "tagXVector2.h"
#include "tagXVector3f.h"
#include "XArray.h"
#include "XBand.h"
#include "XBits.h"
#include "XBlockCache.h"
#include "XCIBbase.h"
#include "XCIBframe.h"
#include "XCIBtoc.h"
#include "XCoordinateTransformation.h"
#include "XDataType.h"
#include "XDib.h"
#include "Xepot.h"
#include "XEPOT2D.h"
#include "XExactStatistics.h"
#include "XException.h"
#include "XExport.h"
#include "XFile.h"
#include "XFileException.h"
#include "XFormatId.h"
#include "XFormatTable.h"
#include "XGeoKeys.h"
#include "XImageCodec.h"
#include "XJointReader.h"
#include "XLevelMode.h"
#include "XLimits.h"
#include "XList.h"
#include "XMap.h"
#include "XMessageBox.h"
#include "XMMFile.h"
#include "XObject.h"
#include "XObList.h"
#include "XOrbitInterpolater.h"
#include "XPaletteReader.h"
#include "XPath.h"
#include "XPBEFile.h"
#include "XPBEFileInfo.h"
#include "XPBELevelInfo.h"
#include "XPBEReadBuffer.h"
#include "XPBIFile.h"
#include "XPBIFileInfo.h"
#include "XPBILevelInfo.h"
#include "XPBIReadBuffer.h"
#include "XPixelFormat.h"
#include "XPtrArray.h"
#include "XPtrList.h"
#include "XQTI.h"
#include "XReadPolicy.h"
#include "XROI.h"
#include "XRSFile.h"
#include "XRSFile2Tiff.h"
#include "XRSFile2TXID.h"
#include "XRSFile2XLD.h"
#include "XRSFile2ZRM.h"
#include "XRSFile3D.h"
#include "XRSFileIO.h"
#include "XRSFileSaver.h"
#include "XRSScanSensorParam.h"
#include "XRSSIG.h"
#include "XSarParam.h"
#include "XSpatialReference.h"
#include "XStatistics.h"
#include "XString.h"
#include "XStringList.h"
#include "XSystem.h"
#include "XSystemFit.h"
#include "XThread.h"
#include "XThreadSafeArr.h"
#include "XTileFileInfo.h"
#include "XTileGrid.h"
#include "XTileLevelInfo.h"
#include "XTileSource.h"
#include "XTileStore.h"
#include "XWaveletLayers.h"
#include "XWorldFile.h"
#include "ZRKVersion.h"
#include "ZRMBand.h"
#include "ZRMBand2DMem.h"
#include "ZRMBandBMP.h"
#include "ZRMBandCADRG.h"
#include "ZRMBandChannels.h"
#include "ZRMBandCIB.h"
#include "ZRMBandComplex.h"
#include "ZRMBandDRIO.h"
#include "ZRMBandDTED.h"
#include "ZRMBandEPOT.h"
#include "ZRMBandFile.h"
#include "ZRMBandGTIFF.h"
#include "ZRMBandHDF4.h"
#include "ZRMBandJPG.h"
#include "ZRMBandMosaic.h"
#include "ZRMBandResize.h"
#include "ZRMBandTXID.h"
#include "ZRMBandXLD.h"
#include "ZRMVand.h"
