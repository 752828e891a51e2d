#include <algorithm>
#include <charconv>
#include <string>
#include <string_view>
#include <system_error>

#include "Raise.h"
#include "StructuringElementData.h"

// Texts of structuring elements.

namespace pxl::kernel {
namespace {

using Words = std::vector<std::string_view>;

std::string_view trim(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

Words split(std::string_view text, char separator) {
  Words parts;
  while (true) {
    std::string_view::size_type const end = text.find(separator);
    parts.push_back(trim(text.substr(0, end)));
    if (end == std::string_view::npos) return parts;
    text.remove_prefix(end + 1);
  }
}

template <class Number>
Number toNumber(std::string_view word, char const* type) {
  Number value{};
  auto const [rest, fault] = std::from_chars(word.data(), word.data() + word.size(), value);
  if (fault != std::errc() || rest != word.data() + word.size())
    PXL_RAISE(InvalidCall, "\"" + std::string(word) + "\" isn't " + type);
  return value;
}

unsigned int toCount(std::string_view word) { return toNumber<unsigned int>(word, "a whole number from 0 on"); }
double toReal(std::string_view word) { return toNumber<double>(word, "a real number"); }

std::vector<long> toPositions(Words const& words, std::size_t begin, std::size_t end) {
  std::vector<long> positions;
  for (std::size_t i = begin; i < end; ++i) positions.push_back(toNumber<long>(words[i], "a whole number"));
  return positions;
}

ElementModes toMode(Words const& words) {
  if (words.size() < 2 || words[1] == "exact") return ElementModes::cExact;
  if (words[1] != "fast") PXL_RAISE(InvalidCall, "\"" + std::string(words[1]) + "\" is neither fast nor exact");
  return ElementModes::cFast;
}

StructuringElement makeBox(Words const& words) {
  std::size_t const rank = words.size() < 4 ? words.size() : words.size() / 2;
  if (words.size() == rank) return StructuringElement::box(toPositions(words, 0, rank));
  return StructuringElement::box(toPositions(words, 0, rank), toPositions(words, rank, 2 * rank));
}

// Appends the voxels of a row, and checks that it is as long as the rows before it.
void appendRow(std::string_view row, std::size_t& nbCols, std::vector<unsigned char>& array) {
  std::size_t count = 0;
  for (std::string_view const word : split(row, ' ')) {
    if (word.empty()) continue;
    if (word != "0" && word != "1") PXL_RAISE(InvalidCall, "\"" + std::string(word) + "\" is neither 0 nor 1");
    array.push_back(word == "1");
    ++count;
  }
  if (count == 0) PXL_RAISE(InvalidCall, "a row is empty");
  if (nbCols != 0 && count != nbCols) PXL_RAISE(InvalidCall, "the rows have different lengths");
  nbCols = count;
}

// Rows are separated by ';' and plans by '|'. A single plan makes a two-dimensional element, unless it has an origin
// of three values.
StructuringElement makeMask(Words const& words) {
  std::vector<unsigned char> array;
  auto const plans = split(words[0], '|');
  auto const nbRows = std::count(plans[0].begin(), plans[0].end(), ';') + 1;
  std::size_t nbCols = 0;
  for (std::string_view const plan : plans) {
    if (std::count(plan.begin(), plan.end(), ';') + 1 != nbRows)
      PXL_RAISE(InvalidCall, "the plans have different numbers of rows");
    for (std::string_view const row : split(plan, ';')) appendRow(row, nbCols, array);
  }
  std::vector<long> sizes{nbRows, static_cast<long>(nbCols)};
  if (plans.size() > 1 || words.size() == 4) sizes.insert(sizes.begin(), static_cast<long>(plans.size()));
  if (words.size() == 1) return StructuringElement::mask(array.data(), sizes);
  return StructuringElement::mask(array.data(), sizes, toPositions(words, 1, words.size()));
}

/** The syntax of a kind: how many values it has, and what they mean. */
struct Form {
  char const* name;
  char const* usage;
  ElementKinds kind;
  bool (*takes)(std::size_t nbWords);
  StructuringElement (*make)(Words const& words);
};

constexpr Form cForms[] = {
    {"connectivity", "connectivity(4|8|6|18|26[, ITERATIONS])", ElementKinds::cConnectivity,
     [](std::size_t n) { return n == 1 || n == 2; },
     [](Words const& w) {
       return StructuringElement::connectivity(toCount(w[0]), w.size() == 1 ? 1 : toCount(w[1]));
     }},
    {"disk", "disk(RADIUS[, fast|exact])", ElementKinds::cDisk, [](std::size_t n) { return n == 1 || n == 2; },
     [](Words const& w) { return StructuringElement::disk(toCount(w[0]), toMode(w)); }},
    {"ball", "ball(RADIUS[, fast|exact])", ElementKinds::cBall, [](std::size_t n) { return n == 1 || n == 2; },
     [](Words const& w) { return StructuringElement::ball(toCount(w[0]), toMode(w)); }},
    {"line", "line(LENGTH, ANGLE)", ElementKinds::cLine, [](std::size_t n) { return n == 2; },
     [](Words const& w) { return StructuringElement::line(toCount(w[0]), toReal(w[1])); }},
    {"line3d", "line3d(LENGTH, AZIMUTH, ELEVATION)", ElementKinds::cLine3d, [](std::size_t n) { return n == 3; },
     [](Words const& w) { return StructuringElement::line3d(toCount(w[0]), toReal(w[1]), toReal(w[2])); }},
    {"disk3d", "disk3d(RADIUS, AZIMUTH, ELEVATION)", ElementKinds::cDisk3d, [](std::size_t n) { return n == 3; },
     [](Words const& w) { return StructuringElement::disk3d(toCount(w[0]), toReal(w[1]), toReal(w[2])); }},
    {"box", "box([PLANS, ]ROWS, COLUMNS[, ORIGIN])", ElementKinds::cBox,
     [](std::size_t n) { return n == 2 || n == 3 || n == 4 || n == 6; }, makeBox},
    {"ellipse", "ellipse(RADIUS, ROW SPACING, COLUMN SPACING)", ElementKinds::cEllipse,
     [](std::size_t n) { return n == 3; },
     [](Words const& w) {
       return StructuringElement::ellipse(toReal(w[0]), {toReal(w[1]), toReal(w[2])});
     }},
    {"ellipsoid", "ellipsoid(RADIUS, PLAN SPACING, ROW SPACING, COLUMN SPACING)", ElementKinds::cEllipsoid,
     [](std::size_t n) { return n == 4; },
     [](Words const& w) {
       return StructuringElement::ellipsoid(toReal(w[0]), {toReal(w[1]), toReal(w[2]), toReal(w[3])});
     }},
    {"mask", "mask(0 1 0; 1 1 1[, ORIGIN])", ElementKinds::cMask,
     [](std::size_t n) { return n == 1 || n == 3 || n == 4; }, makeMask},
};

// The shortest text that reads back as this value.
std::string toText(double value) {
  char text[32];
  auto const [end, fault] = std::to_chars(text, text + sizeof text, value);
  return std::string(text, fault == std::errc() ? end : text);
}

std::string join(std::vector<std::string> const& values) {
  std::string text;
  for (std::string const& value : values) text += (text.empty() ? "" : ", ") + value;
  return text;
}

/** The extent of a list of offsets, in array order. */
struct Span {
  Span(std::vector<Offset3D> const& offsets, int dimension) {
    long lowest[3], highest[3];
    computeExtrema(offsets, lowest[2], highest[2], lowest[1], highest[1], lowest[0], highest[0]);
    for (std::size_t axis = dimension == 3 ? 0 : 1; axis < 3; ++axis) {
      sizes.push_back(highest[axis] - lowest[axis] + 1);
      origin.push_back(-lowest[axis]);
      isDefault = isDefault && origin.back() == sizes.back() / 2;
    }
  }

  void appendOrigin(std::vector<std::string>& values, bool isForced = false) const {
    if (isDefault && !isForced) return;
    for (long position : origin) values.push_back(std::to_string(position));
  }

  std::vector<long> sizes;
  std::vector<long> origin;
  bool isDefault = true;
};

// The offsets are in the order of the array.
std::string drawMask(std::vector<Offset3D> const& offsets, Span const& span) {
  long const nbRows = span.sizes[span.sizes.size() - 2], nbCols = span.sizes.back();
  long const nbPlans = span.sizes.size() == 3 ? span.sizes[0] : 1;
  long const plan0 = span.sizes.size() == 3 ? span.origin[0] : 0;
  std::string text;
  auto offset = offsets.begin();
  for (long plan = 0; plan < nbPlans; ++plan)
    for (long row = 0; row < nbRows; ++row) {
      if (!text.empty()) text += row == 0 ? " | " : "; ";
      for (long col = 0; col < nbCols; ++col) {
        bool const isIn = offset != offsets.end() && offset->plan + plan0 == plan &&
                          offset->row + span.origin[span.origin.size() - 2] == row &&
                          offset->col + span.origin.back() == col;
        if (isIn) ++offset;
        text += col == 0 ? "" : " ";
        text += isIn ? '1' : '0';
      }
    }
  return text;
}

}  // namespace

StructuringElement StructuringElement::parse(String const& text) {
  std::string_view const whole = trim(text.str());
  std::string_view::size_type const open = whole.find('(');
  std::string_view const name = trim(whole.substr(0, open));
  auto const* const form =
      std::find_if(std::begin(cForms), std::end(cForms), [name](Form const& known) { return name == known.name; });
  if (form == std::end(cForms)) {
    std::string known;
    for (Form const& other : cForms) known += std::string(known.empty() ? " " : ", ") + other.name;
    PXL_RAISE(InvalidCall, "\"" + std::string(name) + "\" isn't an element; known are" + known);
  }
  auto const raise = [form](std::string const& why) { PXL_RAISE(InvalidCall, std::string(form->name) + ": " + why); };
  if (open == std::string_view::npos || whole.back() != ')') raise(std::string("is written ") + form->usage);
  Words const words = split(whole.substr(open + 1, whole.size() - open - 2), ',');
  if (!form->takes(words.size())) raise(std::string("is written ") + form->usage);
  StructuringElement element;
  try {
    element = form->make(words);
  } catch (InvalidCall const& refusal) {
    raise(refusal.what());
  }
  return element;
}

String StructuringElement::toString() const {
  Data const& data = getData();
  std::vector<std::string> values;
  switch (data.kind) {
    case ElementKinds::cNone:
      return String();
    case ElementKinds::cConnectivity:
      values = {std::to_string(data.nbNeighbours), std::to_string(data.size)};
      break;
    case ElementKinds::cDisk:
    case ElementKinds::cBall:
      values = {std::to_string(data.size)};
      if (data.mode == ElementModes::cFast) values.emplace_back("fast");
      break;
    case ElementKinds::cLine:
      values = {std::to_string(data.size), toText(data.angle)};
      break;
    case ElementKinds::cLine3d:
    case ElementKinds::cDisk3d:
      values = {std::to_string(data.size), toText(data.angle), toText(data.elevation)};
      break;
    case ElementKinds::cEllipse:
    case ElementKinds::cEllipsoid:
      values = {toText(data.radius)};
      for (double step : data.spacing) values.push_back(toText(step));
      break;
    case ElementKinds::cBox: {
      Span const span(data.offsets, data.dimension);
      for (long size : span.sizes) values.push_back(std::to_string(size));
      span.appendOrigin(values);
      break;
    }
    case ElementKinds::cMask: {
      Span const span(data.offsets, data.dimension);
      values = {drawMask(data.offsets, span)};
      span.appendOrigin(values, data.dimension == 3 && span.sizes[0] == 1);
      break;
    }
  }
  auto const* const form = std::find_if(std::begin(cForms), std::end(cForms),
                                        [&data](Form const& known) { return data.kind == known.kind; });
  return form->name + ("(" + join(values)) + ")";
}

}  // namespace pxl::kernel
