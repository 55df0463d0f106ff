#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// Tells where a passage of more than `maxLines` lines stands twice in the sources below some folders of a tree, be it
/// with other names, numbers and texts. A sentence for each, which names both places.
///
/// Lines without a word or number don't count, nor do comments and lines of the preprocessor. A run of lines of which
/// most have the shape of another one in it is a table, and no passage.
std::vector<std::string> FindRepeatedPassages(const std::filesystem::path& root,
                                              const std::vector<std::string>& folders, int maxLines);
