#pragma once

#include <nlohmann/json.hpp>
#include <string>

/// The description of a file. Objects keep the order in which their fields were put in.
using Json = nlohmann::ordered_json;

/// A number of a file may be anything. JSON knows finite numbers only and gets null for others.
Json Number(double value);

/// The text for machines. Texts of files may be any bytes. Bytes that are not UTF-8 are replaced.
std::string Serialize(const Json& json);

/// The number again, not a number for null.
double GetNumber(const Json& json);

/// Text made fit for a terminal.
std::string GetText(const Json& json);
