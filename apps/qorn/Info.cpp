#include <nlohmann/json.hpp>
#include <string>

#include "qorn/Commands.h"
#include "qorn/NumberText.h"
#include "qorn/StandardOutput.h"
#include "qorn/io/FileError.h"
#include "qorn/io/ImageFile.h"

namespace qorn {
namespace {

using Json = nlohmann::ordered_json;

std::string join(std::vector<std::string> const& names) {
  constexpr std::size_t cMaxShown = 8;
  std::string text;
  for (std::size_t i = 0; i < names.size() && i < cMaxShown; ++i) text += (i == 0 ? "" : ", ") + names[i];
  return names.size() > cMaxShown ? text + ", ..." : text;
}

std::string toLine(std::string const& path, io::ImageHeader const& header) {
  std::string line = path + ": " + pxl::helper::getNameOf(header.type);
  for (int i = 0; i < header.rank; ++i) {
    line += std::string(", ") + io::cAxisNames[i] + ' ' + std::to_string(header.sizes[static_cast<std::size_t>(i)]);
  }
  if (io::getNbSamples(header.picture) > 1) line += " (" + join(io::getSampleNames(header.picture)) + ")";
  if (header.picture.isOneBit) line += ", one bit";
  if (header.picture.isWhiteZero) line += ", white is 0";
  for (std::size_t i = 0; i < header.spacing.size(); ++i) {
    line += (i == 0 ? ", spacing " : " x ") + toText(header.spacing[i]);
  }
  if (header.scale) line += ", scale " + toText(header.scale->slope) + " and " + toText(header.scale->intercept);
  return line + ", " + header.format + (header.isCompressed ? ", compressed\n" : "\n");
}

Json toJson(std::string const& path, io::ImageHeader const& header) {
  Json sizes = Json::object();
  for (std::size_t i = 0; i < header.sizes.size(); ++i) sizes[io::cAxisNames[i]] = header.sizes[i];
  Json json{{"file", path},
            {"format", header.format},
            {"compressed", header.isCompressed},
            {"type", pxl::helper::getNameOf(header.type)},
            {"rank", header.rank},
            {"sizes", sizes}};
  // Separate keys: only some files have these.
  for (std::size_t i = 0; i < header.spacing.size(); ++i) json["spacing"][io::cAxisNames[i]] = header.spacing[i];
  if (io::getNbSamples(header.picture) > 1) json["samples"] = io::getSampleNames(header.picture);
  if (header.picture.isOneBit) json["bits"] = 1;
  if (header.picture.isWhiteZero) json["white"] = 0;
  if (header.scale) json["scale"] = {{"slope", header.scale->slope}, {"intercept", header.scale->intercept}};
  return json;
}

}  // namespace

ExitCodes execute(InfoCommand const& command) {
  std::string lines;
  Json list = Json::array();
  ExitCodes exitCode = cDone;
  for (std::string const& path : command.images) {
    try {
      io::ImageHeader const header = io::readImageHeader(path);
      lines += toLine(path, header);
      list.push_back(toJson(path, header));
    } catch (io::FileError const& error) {
      writeErrorLine(error.what());
      exitCode = cFailed;  // the other files are still shown
    }
  }
  writeOutput(command.isJson ? list.dump(2, ' ', false, Json::error_handler_t::replace) + "\n" : lines);
  return exitCode;
}

}  // namespace qorn
