#pragma once

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

// Files that other programs wrote, in folders that may be absent.

/// The name without what a test's name can't have.
std::string TestNameOf(const char* fileName);

std::string PathOfForeign(const std::string& folder, const std::string& name);

/// Fails for every file of the folder with one of the extensions that is not listed, and skips without a folder.
void ExpectAllListed(const std::string& folder, const std::set<std::string>& extensions,
                     const std::set<std::string>& listed);

template <class Case, std::size_t kCount>
std::set<std::string> NamesOf(const Case (&cases)[kCount]) {
  std::set<std::string> names;
  for (const Case& each : cases) names.insert(each.name);
  return names;
}
