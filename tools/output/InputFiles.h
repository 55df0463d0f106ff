#pragma once

#include <string>
#include <vector>

// The files that a dataset is read from: its image, and what stands beside it and belongs to it. No output may take the
// place of one of them while they are read, under whatever name it goes.

/// Whether both paths lead to the same file.
bool AreSameFile(const std::string& one, const std::string& other);

/// The file of an image and those that belong to it, as far as they are there.
std::vector<std::string> ListInputFiles(const std::string& input);

/// Whether the path leads to one of the files of `input`, with the sentence that refuses it in `err`.
bool WouldReplaceInput(const std::string& path, const std::string& input, std::string& err);

/// The same of an open file.
bool WouldReplaceInput(int descriptor, const std::string& input, std::string& err);
