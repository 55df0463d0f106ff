#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

/// A place as a test tells it.
struct BuiltPlace {
  double first = 0.0;
  double second = 0.0;
  std::string name = {};
};

/// Puts a PBP file together byte by byte. Tables are sorted by the standard library unless a test gives its own.
class PbpBuilder {
 public:
  using Bytes = std::vector<unsigned char>;
  using Table = std::vector<std::int32_t>;

  PbpBuilder& Add(double first, double second, const std::string& name) {
    places_.push_back({first, second, name});
    return *this;
  }
  /// The count in the header, if it is not that of the places.
  PbpBuilder& Claim(std::int32_t count) {
    claimed_ = count;
    return *this;
  }
  PbpBuilder& FirstTable(const Table& table) {
    first_ = table;
    return *this;
  }
  PbpBuilder& SecondTable(const Table& table) {
    second_ = table;
    return *this;
  }
  const std::vector<BuiltPlace>& GetPlaces() const { return places_; }

  Bytes Build() const {
    Bytes bytes = {'P', 'B', 'P', '1', '0', 0, 0, 0};
    Append(bytes, claimed_ < 0 ? static_cast<std::int32_t>(places_.size()) : claimed_);
    for (const BuiltPlace& place : places_) {
      Append(bytes, place.first);
      Append(bytes, place.second);
      for (std::size_t i = 0; i < 64; ++i)
        bytes.push_back(i < place.name.size() ? static_cast<unsigned char>(place.name[i]) : 0);
    }
    for (const std::int32_t number : first_.empty() ? SortBy(&BuiltPlace::first) : first_) Append(bytes, number);
    for (const std::int32_t number : second_.empty() ? SortBy(&BuiltPlace::second) : second_) Append(bytes, number);
    return bytes;
  }

  /// Ascending, of equals the later in front, what is not a number last.
  Table SortBy(double BuiltPlace::*coordinate) const {
    Table table(places_.size());
    for (std::size_t i = 0; i < table.size(); ++i) table[i] = static_cast<std::int32_t>(table.size() - 1 - i);
    std::ranges::stable_sort(table, [&](std::int32_t a, std::int32_t b) {
      const double one = places_[static_cast<std::size_t>(a)].*coordinate;
      const double other = places_[static_cast<std::size_t>(b)].*coordinate;
      return std::isnan(one) ? false : std::isnan(other) || one < other;
    });
    return table;
  }

 private:
  template <class Value>
  static void Append(Bytes& bytes, Value value) {
    unsigned char raw[sizeof value];
    std::memcpy(raw, &value, sizeof value);
    bytes.insert(bytes.end(), raw, raw + sizeof value);
  }

  std::vector<BuiltPlace> places_;
  std::int32_t claimed_ = -1;
  Table first_, second_;
};
