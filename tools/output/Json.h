#pragma once

#include <nlohmann/json.hpp>
#include <string>

/// What is told of a file. Objects keep the order in which their fields were put in.
using Json = nlohmann::ordered_json;

/// A number of a file may be anything; JSON knows finite ones only, and gets null for others.
Json Number(double value);

/// For machines. Text of a file may be any bytes; what is no UTF-8 is replaced.
std::string Serialize(const Json& json);

/// The number again, not a number for null.
double GetNumber(const Json& json);

/// Text made fit for a terminal.
std::string GetText(const Json& json);
