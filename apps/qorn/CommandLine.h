#pragma once

#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "qorn/Errors.h"
#include "qorn/WindowText.h"
#include "qorn/io/ImageHeader.h"

namespace qorn {

/** qorn run OPERATOR IMAGE... [name=value ...], and qorn open IN OUT --element TEXT and the like */
struct RunCommand {
  std::string operatorName;
  std::vector<std::string> images;
  std::vector<std::pair<std::string, std::string>> properties;
  std::vector<std::pair<std::string, std::string>> settings;
  std::vector<std::string> plugins;
  std::optional<std::string> kernelOrigin;
  bool hasSpacingOfFile = false;  ///< the radius of the element is in the units of the first input's spacing
  std::string runner;             ///< empty: the best one that accepts
  std::optional<unsigned int> nbThreads;
  std::optional<unsigned long> maxExtraMemory;
  unsigned long maxVoxels = io::cDefaultMaxCompressedVoxels;
  int interpretation = pxl::cGrey;
  std::optional<pxl::VoxelTypes> outputType;  ///< that of the first input unless given
  std::optional<unsigned long> memory;        ///< for processing in windows
  std::optional<WindowText> crop;             ///< the part that becomes the output
  std::optional<WindowText> window;           ///< the part of an existing output that is written
  bool isOnDisk = false;
  bool isInPlace = false;
  bool isReplacing = true;
  bool isJson = false;
  bool isQuiet = false;
};

/** qorn operators [OPERATOR [IMAGE...] [name=value ...]] */
struct OperatorsCommand {
  std::string operatorName;         ///< empty: all
  std::vector<std::string> images;  ///< inputs; runners are asked about them
  std::vector<std::pair<std::string, std::string>> properties;
  int interpretation = pxl::cGrey;
  std::optional<pxl::VoxelTypes> outputType;  ///< that of the first input unless given
  std::vector<std::string> plugins;
  bool isJson = false;
};

/** qorn info IMAGE... */
struct InfoCommand {
  std::vector<std::string> images;
  bool isJson = false;
};

/** qorn element OPERATOR [name=value ...] */
struct ElementCommand {
  std::string operatorName;  ///< or the text of an element
  std::vector<std::pair<std::string, std::string>> properties;
  std::vector<std::string> plugins;
  std::string output;  ///< a file for the mask; empty: the element is drawn
  bool isReplacing = true;
};

/** A requested text, such as the help. */
struct TextCommand {
  std::string text;
  bool isError = false;  ///< shown because the command line is empty
};

using Command = std::variant<RunCommand, OperatorsCommand, InfoCommand, ElementCommand, TextCommand>;

/** @throws UsageError */
Command parseCommandLine(int argc, char const* const* argv);

}  // namespace qorn
