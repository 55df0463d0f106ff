// The document is a tree whose elements are found by name in any case, and whose attributes have names in small
// letters. All children of an element are gone through, so that of two elements of one name the later counts.
//
// Numbers are what texts begin with, as C's atof and atoi take them, but the locale has no part in it. The exact policy
// wants texts to be numbers as a whole. No policy takes a number that is not finite.
//
// A list tells the number of its rows before they come. Memory is taken for rows that are there.

#include "bands/hawk/HawkDocument.h"

#include "base/LeadingNumber.h"
#include "base/Words.h"
#include "core/native/NativeXml.h"

#include <cmath>
#include <initializer_list>
#include <new>
#include <pugixml.hpp>
#include <span>

namespace zrk {
namespace {

constexpr unsigned kHawkParseFlags = pugi::parse_default | pugi::parse_comments;

bool IsNamed(const pugi::xml_node& node, std::string_view upperName) {
  XString name = node.name();
  name.MakeUpper();
  return name == upperName;
}

/// Calls `visit` for every element that the path of names leads to, in the order of the document.
template <class Visit>
void ForEachOn(pugi::xml_node parent, std::span<const char* const> path, const Visit& visit) {
  if (path.empty()) return visit(parent);
  for (const pugi::xml_node child : parent.children()) {
    if (IsNamed(child, path.front())) ForEachOn(child, path.subspan(1), visit);
  }
}

template <class Visit>
void ForEachOn(pugi::xml_node parent, std::initializer_list<const char*> path, const Visit& visit) {
  ForEachOn(parent, std::span(path.begin(), path.size()), visit);
}

const char* TextOf(const pugi::xml_node& node) {
  return node.first_child().value();
}

/// Fills a record from a tree, and keeps the first thing that is wrong with it.
class HawkReader {
 public:
  HawkReader(HawkDocument& document, bool isExact) : document_(document), isExact_(isExact) {}

  void ReadRoot(pugi::xml_node root);
  const XString& GetFault() const { return fault_; }

 private:
  void ReadPose(pugi::xml_node pose);
  void ReadPosePart(pugi::xml_node part, std::size_t index);
  void ReadGrid(pugi::xml_node matrix, std::size_t index);
  void ReadRotation(pugi::xml_node matrix);
  void ReadImage(pugi::xml_node image);
  void ReadInterior(pugi::xml_node interior);

  /// A number of an element or an attribute of that name.
  template <class Number>
  Number Parse(std::string_view text, const char* name);
  void ParseAttribute(const pugi::xml_node& node, const char* name, double& value) {
    if (const pugi::xml_attribute attribute = node.attribute(name)) value = Parse<double>(attribute.value(), name);
  }
  void ParseAttribute(const pugi::xml_node& node, const char* name, int& value) {
    if (const pugi::xml_attribute attribute = node.attribute(name)) value = Parse<int>(attribute.value(), name);
  }
  void Note(const XString& fault) {
    if (fault_.IsEmpty()) fault_ = fault;
  }

  HawkDocument& document_;
  bool isExact_;
  XString fault_;
};

template <class Number>
Number HawkReader::Parse(std::string_view text, const char* name) {
  const FrontNumber<Number> number = TakeFrontNumber<Number>(text);
  const bool isWhole = number.length > 0 && Trimmed(text.substr(number.length)).empty();
  if (isExact_ && !isWhole) Note(XString("The document has no number where ") + name + " should have one");
  if (!std::isfinite(static_cast<double>(number.value))) {
    Note(XString("The document has a number of ") + name + " that is not finite");
  }
  return number.value;
}

void HawkReader::ReadRoot(pugi::xml_node root) {
  ForEachOn(root, {"POSE"}, [this](pugi::xml_node pose) { ReadPose(pose); });
  ForEachOn(root, {"IMAGE"}, [this](pugi::xml_node image) { ReadImage(image); });
  ForEachOn(root, {"INTERIORDATA"}, [this](pugi::xml_node interior) { ReadInterior(interior); });
}

void HawkReader::ReadPose(pugi::xml_node pose) {
  ForEachOn(pose, {"COORDSYS", "ORIGININECF", "POINT3D"}, [this](pugi::xml_node point) {
    ParseAttribute(point, "x", document_.originInEcf[0]);
    ParseAttribute(point, "y", document_.originInEcf[1]);
    ParseAttribute(point, "z", document_.originInEcf[2]);
  });
  ForEachOn(pose, {"COORDSYS", "ROTATIONECFTOLSR", "MATRIX"}, [this](pugi::xml_node matrix) { ReadRotation(matrix); });
  // Positions may stand among the angles, and angles among the positions.
  for (const pugi::xml_node list : pose.children()) {
    if (!IsNamed(list, "POSITIONINMETERS") && !IsNamed(list, "ATTITUDEINRAD")) continue;
    for (const pugi::xml_node part : list.children()) {
      for (std::size_t i = 0; i < kNumPoseParts; ++i) {
        if (IsNamed(part, kPoseNames[i])) ReadPosePart(part, i);
      }
    }
  }
}

/// A row that lacks numbers leaves those that were there.
void HawkReader::ReadRotation(pugi::xml_node matrix) {
  std::size_t row = 0;
  ForEachOn(matrix, {"ROW"}, [&](pugi::xml_node element) {
    if (row == 3) return;
    std::string_view text = TextOf(element);
    for (std::size_t column = 0; column < 3; ++column) {
      const std::string_view word = TakeWord(text);
      if (word.empty()) break;
      document_.rotationEcfToLsr[3 * row + column] = Parse<double>(word, "RotationEcfToLsr");
    }
    ++row;
  });
}

void HawkReader::ReadPosePart(pugi::xml_node part, std::size_t index) {
  ForEachOn(part, {"PARAMETER", "ORIGINAL", "VALUE", "GRID", "MATRIX"},
            [&](pugi::xml_node matrix) { ReadGrid(matrix, index); });
}

/// The count of the last list is that of all of them, so that lists of other lengths are known later.
void HawkReader::ReadGrid(pugi::xml_node matrix, std::size_t index) {
  int numTold = 0;
  ParseAttribute(matrix, "rows", numTold);
  if (numTold <= 0) return;
  std::vector<double> values;
  bool hasMore = false;
  ForEachOn(matrix, {"ROW"}, [&](pugi::xml_node row) {
    if (std::ssize(values) < numTold) {
      values.push_back(Parse<double>(TextOf(row), kPoseNames[index]));
    } else {
      hasMore = true;
    }
  });
  if (std::ssize(values) < numTold) Note(XString("The document lacks rows of ") + kPoseNames[index]);
  if (isExact_ && hasMore) Note(XString("The document has more rows of ") + kPoseNames[index] + " than it tells");
  document_.grids[index] = std::move(values);
  if (index + 1 == kNumPoseParts) document_.gridCount = numTold;
}

void HawkReader::ReadImage(pugi::xml_node image) {
  ForEachOn(image, {"SIZE"}, [this](pugi::xml_node size) {
    ParseAttribute(size, "lines", document_.imageLines);
    ParseAttribute(size, "samples", document_.imageSamples);
  });
  ForEachOn(image, {"ORIGINCORNER"}, [this](pugi::xml_node corner) { document_.originCorner = TextOf(corner); });
  ForEachOn(image, {"SPECTRUM"},
            [this](pugi::xml_node spectrum) { document_.isIR = std::string_view(TextOf(spectrum)) == "IR"; });
}

void HawkReader::ReadInterior(pugi::xml_node interior) {
  ForEachOn(interior, {"FOCALLENGTHINMM", "PARAMETER", "ORIGINAL", "VALUE"}, [this](pugi::xml_node value) {
    document_.focalLengthInMm = Parse<double>(TextOf(value), "FocalLengthInMm");
  });
  ForEachOn(interior, {"DETECTORCELLSIZEINMM"}, [this](pugi::xml_node size) {
    document_.detectorCellSizeInMm = Parse<double>(TextOf(size), "DetectorCellSizeInMm");
  });
}

HawkParse Refuse(XString& reason, const XString& sentence) {
  reason = sentence;
  return HawkParse::kRefused;
}

}  // namespace

HawkParse ParseHawkDocument(std::string_view text, bool isExact, HawkDocument& document, XString& reason) {
  if (const XString danger = FindXmlRefusal(text); !danger.IsEmpty()) {
    return Refuse(reason, "The document is refused: " + danger);
  }
  pugi::xml_document tree;
  const pugi::xml_parse_result result =
      tree.load_buffer(text.data(), text.size(), kHawkParseFlags, pugi::encoding_utf8);
  if (result.status == pugi::status_out_of_memory) throw std::bad_alloc();
  const bool isEmpty = result.status == pugi::status_no_document_element;
  if (!result && !isEmpty) return Refuse(reason, "The document is not well formed");
  const pugi::xml_node root = tree.document_element();
  if (!root) {
    reason = "The document has no element";
    return HawkParse::kNoElement;
  }
  if (!IsNamed(root, "SIF")) return Refuse(reason, "The document is of another kind: its root is not SIF");
  HawkReader reader(document, isExact);
  reader.ReadRoot(root);
  return reader.GetFault().IsEmpty() ? HawkParse::kDone : Refuse(reason, reader.GetFault());
}

XString FindHawkFault(const HawkDocument& document, bool isExact) {
  constexpr int kFewestSamples = 3;
  if (document.imageLines < 1 || document.imageSamples < 1) return "The document tells no lines or no samples";
  if (document.gridCount < kFewestSamples) return "The document has fewer than three samples of the pose";
  for (const std::vector<double>& grid : document.grids) {
    if (std::ssize(grid) != document.gridCount) return "The lists of the pose differ in length";
  }
  Matrix3 inverse;
  double determinant = 0.0;
  if (!Invert(document.rotationEcfToLsr, inverse, determinant)) return "The rotation can't be inverted";
  const bool hasInterior = document.focalLengthInMm > 0.0 && document.detectorCellSizeInMm > 0.0;
  if (isExact && !hasInterior) return "The document tells no focal length or no size of a detector cell";
  return "";
}

}  // namespace zrk
