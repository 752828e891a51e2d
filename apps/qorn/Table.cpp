#include "qorn/Table.h"

#include <algorithm>
#include <utility>

namespace qorn {

Table::Table(std::string alignment) : m_alignment(std::move(alignment)) {}

void Table::addRow(std::vector<std::string> cells) { m_rows.push_back(std::move(cells)); }

std::string Table::toText() const {
  std::vector<std::size_t> widths(m_alignment.size(), 0);
  for (auto const& row : m_rows) {
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
  }
  std::string text;
  for (auto const& row : m_rows) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      std::size_t const padding = widths[i] - row[i].size();
      if (i > 0) text += "  ";
      if (m_alignment[i] == 'r') text.append(padding, ' ');
      text += row[i];
      if (m_alignment[i] == 'l' && i + 1 < row.size()) text.append(padding, ' ');
    }
    text += '\n';
  }
  return text;
}

}  // namespace qorn
