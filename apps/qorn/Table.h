#pragma once

#include <string>
#include <vector>

namespace qorn {

/** Rows of cells that are printed with aligned columns, two spaces apart. */
class Table {
 public:
  /** One letter for each column: 'l' aligns to the left, 'r' to the right. */
  explicit Table(std::string alignment);

  /** Adds a row with as many cells as there are columns. */
  void addRow(std::vector<std::string> cells);

  std::string toText() const;

 private:
  std::string m_alignment;
  std::vector<std::vector<std::string>> m_rows;
};

}  // namespace qorn
