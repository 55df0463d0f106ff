#pragma once

#include "XString.h"

#include <cstdint>
#include <vector>

/// A value with a name, or a list or record of such values. `kind` says which of the fields below it counts; the others
/// have their first values. A note of `kNothing` has a name only.
struct tagXNote {
  enum Kind { kNothing, kBool, kInteger, kText, kList, kRecord };

  XString name = {};  ///< empty in a list
  Kind kind = kNothing;
  std::int64_t number = 0;           ///< of `kInteger`; of `kBool` 0 or 1
  XString text = {};                 ///< of `kText`, as the file has it
  std::vector<tagXNote> parts = {};  ///< of `kList` and `kRecord`, in their order
};

/// What a format has to tell of an opened file beyond what all datasets tell: for machines as values, and for people as
/// lines of text that say the same. The record holds copies: the dataset may be closed before it is read.
struct tagXFormatNotes {
  std::vector<tagXNote> values;
  std::vector<XString> lines;         ///< of the whole image
  std::vector<XString> furtherLines;  ///< of what else is in the file
};
