// Rows about place names: both tables of ten million records beside `std::stable_sort` of the records themselves, and
// of fewer records beside an insertion of each record into a sorted array, which is what the tables are defined by.
//
// Coordinates are spread over the earth as degrees with six digits. All three ways have to give the same order.

#include "Inputs.h"
#include "Rows.h"
#include "XArraySort.h"
#include "XPBPProviderExporter.h"

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

namespace {

using Names = std::shared_ptr<XPBPProviderExporter>;
using Compare = int (*)(const tagPName&, const tagPName&);

Names MakeNames(int count) {
  const auto names = std::make_shared<XPBPProviderExporter>();
  std::mt19937_64 random(48);
  const auto draw = [&](std::uint64_t degrees) {
    return static_cast<double>(random() % (2 * degrees * 1'000'000)) / 1e6 - static_cast<double>(degrees);
  };
  for (int i = 0; i < count; ++i) {
    const double longitude = draw(180), latitude = draw(90);
    Must(names->AddPName(longitude, latitude, "A place"), "there is no memory for the places");
  }
  return names;
}

void BuildByUs(XPBPProviderExporter& names) {
  names.BuildPointCloud('1', '0', nullptr);
}

/// Whole records in the order of the table: those added later come first where coordinates are equal.
template <double tagPName::*kCoordinate>
std::vector<tagPName> SortRecords(const XPBPProviderExporter& names) {
  std::vector<tagPName> records;
  records.reserve(static_cast<std::size_t>(names.GetCount()));
  for (int i = names.GetCount() - 1; i >= 0; --i) records.push_back(names.GetRecord(i));
  std::stable_sort(records.begin(), records.end(),
                   [](const tagPName& one, const tagPName& other) { return one.*kCoordinate < other.*kCoordinate; });
  return records;
}

void SortBoth(const XPBPProviderExporter& names) {
  SortRecords<&tagPName::first>(names);
  SortRecords<&tagPName::second>(names);
}

std::vector<int> InsertRecords(const XPBPProviderExporter& names, Compare compare) {
  XArraySort<tagPName> sorted(compare);
  std::vector<int> table;
  for (int i = 0; i < names.GetCount(); ++i) {
    table.insert(table.begin() + sorted.Insert(names.GetRecord(i)), i);
  }
  return table;
}

void InsertBoth(const XPBPProviderExporter& names) {
  InsertRecords(names, &XPBPProviderExporter::CompareByFirst);
  InsertRecords(names, &XPBPProviderExporter::CompareBySecond);
}

void MustAgreeOnOrder(XPBPProviderExporter& names) {
  BuildByUs(names);
  const std::vector<int> inserted = InsertRecords(names, &XPBPProviderExporter::CompareByFirst);
  const XArray<int>& table = names.GetSortedByFirst();
  Must(std::equal(inserted.begin(), inserted.end(), table.begin(), table.end()), "insertion gives another table");
  const std::vector<tagPName> records = SortRecords<&tagPName::first>(names);
  for (int rank = 0; rank < table.GetSize(); ++rank) {
    const tagPName& record = names.GetRecord(table[rank]);
    const tagPName& other = records[static_cast<std::size_t>(rank)];
    Must(record.first == other.first && record.second == other.second, "sorted records have another order");
  }
}

}  // namespace

void AddPlaceRows(const BenchOptions& options, std::vector<Row>& rows) {
  constexpr int kUsualSide = 8192, kFew = 20'000, kMany = 10'000'000;
  const bool isTrial = options.side < kUsualSide;
  const Names few = MakeNames(isTrial ? kFew / 10 : kFew), many = MakeNames(isTrial ? kFew : kMany);
  MustAgreeOnOrder(*few);
  const auto title = [](const Names& names) {
    return "both tables of " + std::to_string(names->GetCount()) + " places";
  };
  rows.push_back({"names_sort", title(many), "std::stable_sort of the records", [many] { BuildByUs(*many); },
                  [many] { SortBoth(*many); }, 1, 0.25});
  rows.push_back({"names_seconds", title(many), "", [many] { BuildByUs(*many); }, nullptr, 1, 3.0});
  rows.push_back({"names_insert", title(few), "insertion of each record", [few] { BuildByUs(*few); },
                  [few] { InsertBoth(*few); }, 1, 0.05});
}
