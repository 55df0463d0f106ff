#pragma once

#include <string>

/// The id of a file's format: by its extension, or where that says nothing by its first bytes; -1 where they say
/// nothing either.
int FindFormatId(const std::string& path);

/// Whether files of the format are known by their first bytes.
bool IsKnownByContent(int id);
