#include "qorn/MeasureText.h"

#include <cmath>
#include <vector>

#include "pxl/Property.h"
#include "pxl/analysis/AnalysisDimensions.h"
#include "qorn/NumberText.h"
#include "qorn/Table.h"

namespace qorn {
namespace {

using pxl::analysis::MeasureArray;

/** The dimensions of a measure, in index order. */
struct Dimension {
  char const* name;
  int bit;  ///< in the property "analysisDimensions"
};
constexpr Dimension cDimensions[3] = {{"plan", pxl::analysis::cEachPlan},
                                      {"sequence", pxl::analysis::cEachSequencePosition},
                                      {"spectral", pxl::analysis::cEachSpectralPosition}};

/** The dimensions that the algorithm keeps separate. */
int getAskedBits(pxl::BaseAlgorithm const& algorithm) {
  pxl::PropertyBase const* const property = algorithm.findProperty("analysisDimensions");
  auto const* const bits = property == nullptr ? nullptr : pxl::asProperty<int>(*property);
  return bits == nullptr ? 0 : bits->get();
}

void appendJson(std::string& text, MeasureArray const& array) {
  for (unsigned long i0 = 0; i0 < array.getSize(0); ++i0) {
    text += i0 == 0 ? "[" : ", ";
    for (unsigned long i1 = 0; i1 < array.getSize(1); ++i1) {
      text += i1 == 0 ? "[" : ", ";
      for (unsigned long i2 = 0; i2 < array.getSize(2); ++i2) {
        double const value = array.getValue(i0, i1, i2);
        std::string const number = toText(value);
        text += i2 == 0 ? "[" : ", ";
        text += std::isfinite(value) ? number : '"' + number + '"';
      }
      text += "]";
    }
    text += "]";
  }
  text += "]";
}

}  // namespace

std::string toTable(pxl::analysis::Measure const& measure, pxl::BaseAlgorithm const& algorithm) {
  auto const entries = measure.getEntries();
  MeasureArray const& first = *entries.front().array;
  bool const hasPositions = first.getSize(0) * first.getSize(1) * first.getSize(2) > 1;
  std::vector<int> shown;
  for (int i = 0; i < 3 && hasPositions; ++i) {
    if (getAskedBits(algorithm) & cDimensions[i].bit) shown.push_back(i);
  }
  Table table(std::string(shown.size() + entries.size(), 'r'));
  std::vector<std::string> cells;
  for (int const i : shown) cells.emplace_back(cDimensions[i].name);
  for (auto const& entry : entries) cells.emplace_back(entry.name);
  table.addRow(cells);
  unsigned long index[3];
  for (index[0] = 0; index[0] < first.getSize(0); ++index[0]) {
    for (index[1] = 0; index[1] < first.getSize(1); ++index[1]) {
      for (index[2] = 0; index[2] < first.getSize(2); ++index[2]) {
        cells.clear();
        for (int const i : shown) cells.push_back(std::to_string(index[i]));
        for (auto const& entry : entries) {
          cells.push_back(toText(entry.array->getValue(index[0], index[1], index[2])));
        }
        table.addRow(cells);
      }
    }
  }
  return table.toText();
}

std::string toJson(pxl::analysis::Measure const& measure, std::optional<io::ValueScale> const& scale) {
  std::string text;
  for (auto const& entry : measure.getEntries()) {
    text += std::string(text.empty() ? "{" : ", ") + '"' + entry.name + "\": ";
    appendJson(text, *entry.array);
  }
  // As doubles: the shortest form of a float would read back as another double.
  if (scale) {
    text += ", \"slope\": " + toText(static_cast<double>(scale->slope)) +
            ", \"intercept\": " + toText(static_cast<double>(scale->intercept));
  }
  text += "}\n";
  return text;
}

}  // namespace qorn
