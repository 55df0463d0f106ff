#pragma once

#include <nlohmann/json.hpp>

/// What the program prints with --json, whatever the order of its members.
using AnyJson = nlohmann::json;
