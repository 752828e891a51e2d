#include "qorn/io/NpyHeader.h"

#include <charconv>
#include <stdexcept>
#include <string_view>

#include "qorn/io/FileError.h"
#include "qorn/io/InputFile.h"

namespace qorn::io {
namespace {

constexpr std::string_view cMagic("\x93NUMPY", 6);
constexpr unsigned long cMaxHeaderBytes = 64 * 1024;

/** Why a header can't be used; converted to a FileError with the path. */
using HeaderFault = std::runtime_error;

/** The tokens of the dictionary, one after the other. */
class Scanner {
 public:
  explicit Scanner(std::string_view text) : m_rest(text) {}

  /** Whether `token` is next; if so, skips it. */
  bool accept(char token) {
    skipSpace();
    if (m_rest.empty() || m_rest.front() != token) return false;
    m_rest.remove_prefix(1);
    return true;
  }

  void expect(char token) {
    if (!accept(token)) throw HeaderFault(std::string("malformed header: '") + token + "' is missing");
  }

  /** A text in single or double quotes, without escapes. */
  std::string_view readText() {
    skipSpace();
    if (m_rest.empty() || (m_rest.front() != '\'' && m_rest.front() != '"')) {
      throw HeaderFault("malformed header: a text in quotes is missing");
    }
    std::string_view::size_type const end = m_rest.find(m_rest.front(), 1);
    if (end == std::string_view::npos) throw HeaderFault("malformed header: a quote isn't closed");
    std::string_view const text = m_rest.substr(1, end - 1);
    if (text.find('\\') != std::string_view::npos) throw HeaderFault("malformed header: escape in a text");
    m_rest.remove_prefix(end + 1);
    return text;
  }

  bool readBool() {
    skipSpace();
    for (bool const value : {false, true}) {
      std::string_view const word = value ? "True" : "False";
      if (m_rest.substr(0, word.size()) == word) {
        m_rest.remove_prefix(word.size());
        return value;
      }
    }
    throw HeaderFault("malformed header: 'fortran_order' is neither True nor False");
  }

  unsigned long readSize() {
    skipSpace();
    if (!m_rest.empty() && m_rest.front() == '-') throw HeaderFault("negative size in the shape");
    unsigned long size = 0;
    auto const [end, fault] = std::from_chars(m_rest.data(), m_rest.data() + m_rest.size(), size);
    if (fault == std::errc::result_out_of_range) throw HeaderFault("a size in the shape is too large");
    if (fault != std::errc()) throw HeaderFault("malformed header: the shape isn't a tuple of sizes");
    m_rest.remove_prefix(static_cast<std::size_t>(end - m_rest.data()));
    return size;
  }

  bool isAtEnd() {
    skipSpace();
    return m_rest.empty();
  }

 private:
  void skipSpace() {
    std::string_view::size_type const begin = m_rest.find_first_not_of(" \t\n");
    m_rest.remove_prefix(begin == std::string_view::npos ? m_rest.size() : begin);
  }

  std::string_view m_rest;
};

[[noreturn]] void refuseType(std::string_view descr, char const* what) {
  throw HeaderFault("dtype '" + std::string(descr) + "' (" + what +
                    ") isn't read; known are u1 u2 u4 i1 i2 i4 f4 f8");
}

void readDescr(Scanner& scanner, NpyHeader& header) {
  if (scanner.accept('[')) throw HeaderFault("structured dtypes aren't read; known are u1 u2 u4 i1 i2 i4 f4 f8");
  std::string_view const descr = scanner.readText();
  struct Known {
    std::string_view kindAndSize;
    pxl::VoxelTypes type;
  };
  static constexpr Known cKnown[] = {{"u1", pxl::cUnsignedInteger8},
                                     {"u2", pxl::cUnsignedInteger16},
                                     {"u4", pxl::cUnsignedInteger32},
                                     {"i1", pxl::cInteger8},
                                     {"i2", pxl::cInteger16},
                                     {"i4", pxl::cInteger32},
                                     {"f4", pxl::cFloat},
                                     {"f8", pxl::cDouble}};
  std::string_view const kindAndSize = descr.substr(descr.empty() ? 0 : 1);
  char const order = descr.empty() ? '\0' : descr.front();
  for (Known const& known : cKnown) {
    if (kindAndSize != known.kindAndSize) continue;
    bool const isOneByte = pxl::helper::getSizeOf(known.type) == 1;
    if (order != '<' && order != '>' && order != '=' && (order != '|' || !isOneByte)) break;
    header.type = known.type;
    header.isSwapped = order == '>' && !isOneByte;  // the host runs on little-endian machines only
    return;
  }
  switch (kindAndSize.empty() ? '\0' : kindAndSize.front()) {
    case 'b':
    case '?':
      refuseType(descr, "bool");
    case 'u':
      refuseType(descr, "unsigned integer");
    case 'i':
      refuseType(descr, "integer");
    case 'f':
      refuseType(descr, "floating point");
    case 'c':
      refuseType(descr, "complex");
    case 'O':
      refuseType(descr, "pickled objects");
    case 'S':
    case 'a':
    case 'U':
      refuseType(descr, "text");
    case 'M':
    case 'm':
      refuseType(descr, "time");
    case 'V':
      refuseType(descr, "raw bytes");
    default:
      refuseType(descr, "unknown");
  }
}

void readShape(Scanner& scanner, NpyHeader& header) {
  scanner.expect('(');
  while (!scanner.accept(')')) {
    header.shape.push_back(scanner.readSize());
    if (scanner.accept(',')) continue;
    // (3) is a number in parentheses, (3,) a tuple.
    if (header.shape.size() == 1) throw HeaderFault("malformed header: the shape isn't a tuple of sizes");
    scanner.expect(')');
    return;
  }
}

NpyHeader parseDictionary(std::string_view text) {
  Scanner scanner(text);
  NpyHeader header{};
  constexpr std::string_view cKeys[] = {"descr", "fortran_order", "shape"};
  bool isSeen[3] = {false, false, false};
  scanner.expect('{');
  while (!scanner.accept('}')) {
    std::string_view const key = scanner.readText();
    int index = 0;
    while (index < 3 && cKeys[index] != key) ++index;
    if (index == 3) throw HeaderFault("malformed header: unknown key '" + std::string(key) + "'");
    if (isSeen[index]) throw HeaderFault("malformed header: key '" + std::string(key) + "' occurs twice");
    isSeen[index] = true;
    scanner.expect(':');
    if (index == 0) {
      readDescr(scanner, header);
    } else if (index == 1) {
      header.isFortranOrder = scanner.readBool();
    } else {
      readShape(scanner, header);
    }
    if (scanner.accept(',')) continue;
    scanner.expect('}');
    break;
  }
  for (int i = 0; i < 3; ++i) {
    if (!isSeen[i]) throw HeaderFault("malformed header: key '" + std::string(cKeys[i]) + "' is missing");
  }
  if (!scanner.isAtEnd()) throw HeaderFault("malformed header: something follows the dictionary");
  return header;
}

}  // namespace

NpyHeader readNpyHeader(InputFile const& file) {
  std::string const& path = file.getPath();
  unsigned char prefix[12] = {};
  unsigned long const prefixBytes = file.getSize() < sizeof prefix ? file.getSize() : sizeof prefix;
  file.read(prefix, prefixBytes, 0);
  for (std::size_t i = 0; i < cMagic.size(); ++i) {
    if (prefix[i] != static_cast<unsigned char>(cMagic[i])) throw FileError(path, "not a .npy file");
  }
  int const major = prefix[6];
  int const minor = prefix[7];
  if (file.getSize() >= 8 && (major < 1 || major > 3 || minor != 0)) {
    throw FileError(path, ".npy version " + std::to_string(major) + "." + std::to_string(minor) + " isn't known");
  }
  unsigned long const textOffset = major == 1 ? 10 : 12;
  if (file.getSize() < textOffset) throw FileError(path, "ends within its header");
  unsigned long length = 0;
  for (unsigned long i = textOffset; i > 8; --i) length = length << 8 | prefix[i - 1];
  if (length > cMaxHeaderBytes) {
    throw FileError(path, "a header of " + std::to_string(length) + " bytes; at most 65536 are read");
  }
  if (length > file.getSize() - textOffset) throw FileError(path, "ends within its header");
  std::string text(length, '\0');
  file.read(text.data(), length, textOffset);
  try {
    NpyHeader header = parseDictionary(text);
    header.dataOffset = textOffset + length;
    return header;
  } catch (HeaderFault const& fault) {
    throw FileError(path, fault.what());
  }
}

}  // namespace qorn::io
