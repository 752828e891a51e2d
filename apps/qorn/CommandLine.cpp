#include "qorn/CommandLine.h"

#include <CLI/CLI.hpp>
#include <sstream>

#include "pxl/Limits.h"
#include "pxl/Settings.h"
#include "qorn/NumberText.h"

namespace qorn {
namespace {

constexpr unsigned int cMaxThreads = 1024;

/** Splits NAME=VALUE where NAME is an identifier; anything else is an image, such as "./a=b.npy". */
std::optional<std::pair<std::string, std::string>> splitAssignment(std::string const& text) {
  constexpr char cLetters[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_0123456789";
  std::string::size_type const end = text.find_first_not_of(cLetters);
  bool const startsWithDigit = !text.empty() && text[0] >= '0' && text[0] <= '9';
  if (end == std::string::npos || end == 0 || text[end] != '=' || startsWithDigit) return std::nullopt;
  return std::make_pair(text.substr(0, end), text.substr(end + 1));
}

std::pair<std::string, std::string> parseSetting(std::string const& text) {
  std::string const what = "--setting " + text;
  std::string::size_type const end = text.find('=');
  if (end == std::string::npos) throw UsageError(what, "expected NAME=VALUE");
  std::pair<std::string, std::string> setting(text.substr(0, end), text.substr(end + 1));
  for (pxl::Settings::Description const& known : pxl::Settings::getDescriptions()) {
    if (setting.first != known.name) continue;
    // A malformed number would be ignored silently.
    if (known.type == std::string("bytes")) parseNumberOrThrow<unsigned long>(what, setting.second, known.type);
    if (known.type == std::string("boolean") && setting.second != "true" && setting.second != "false") {
      throw UsageError(what, "must be true or false");
    }
    return setting;
  }
  throw UsageError(what, "there is no such setting; qorn run --help lists them");
}

pxl::VoxelTypes parseVoxelType(std::string const& what, std::string const& text) {
  std::string known;
  for (int value = pxl::cUnsignedInteger8; value <= pxl::cDouble; ++value) {
    auto const type = static_cast<pxl::VoxelTypes>(value);
    if (!pxl::helper::isImageType(type)) continue;
    if (text == pxl::helper::getNameOf(type)) return type;
    known += std::string(" ") + pxl::helper::getNameOf(type);
  }
  throw UsageError(what, "must be one of" + known);
}

int parseInterpretation(std::string const& text) {
  if (text != "grey" && text != "binary") throw UsageError("--interpretation " + text, "must be grey or binary");
  return text == "grey" ? pxl::cGrey : pxl::cBinary;
}

/** The options of commands that take the images of an operator. */
struct ImageTexts {
  std::vector<std::string> arguments;  ///< images, and properties as name=value
  std::optional<std::string> interpretation;
  std::optional<std::string> outputType;
};

void addImageOptions(CLI::App& app, ImageTexts& texts) {
  app.add_option("--interpretation", texts.interpretation,
                 "interpretation of the input images: grey (default) or binary")
      ->type_name("KIND");
  app.add_option("--output-type", texts.outputType, "voxel type of the output image; default that of the first input")
      ->type_name("TYPE");
}

template <class Command>
void finishImages(Command& command, ImageTexts const& texts) {
  for (std::string const& argument : texts.arguments) {
    if (auto assignment = splitAssignment(argument)) {
      command.properties.push_back(std::move(*assignment));
    } else {
      command.images.push_back(argument);
    }
  }
  if (texts.interpretation) command.interpretation = parseInterpretation(*texts.interpretation);
  if (texts.outputType) command.outputType = parseVoxelType("--output-type " + *texts.outputType, *texts.outputType);
}

/** The options of `run` as texts; numbers are parsed more strictly than the library does. */
struct RunTexts {
  ImageTexts images;
  std::vector<std::string> settings;
  std::optional<std::string> kernel;
  std::optional<std::string> element;
  std::optional<std::string> spacing;
  std::optional<std::string> nbThreads;
  std::optional<std::string> maxExtraMemory;
  std::optional<std::string> maxVoxels;
  std::optional<std::string> memory;
  std::optional<std::string> crop;
  std::optional<std::string> window;
};

CLI::Option* addPluginOption(CLI::App& app, std::vector<std::string>& plugins) {
  return app.add_option("--plugin", plugins, "load this plug-in instead of those of the folder; may be repeated")
      ->type_name("PATH")
      ->allow_extra_args(false);
}

// The inverted flags of the library would show their value in the help.
void addNoClobberFlag(CLI::App& app, bool& isReplacing) {
  app.add_flag_callback(
      "--no-clobber", [&isReplacing] { isReplacing = false; }, "refuse to replace an existing output file");
}

std::string describeSettings() {
  std::string text = "Settings:";
  for (pxl::Settings::Description const& known : pxl::Settings::getDescriptions()) {
    text += std::string("\n  ") + known.name + " (" + known.type + "): " + known.help;
  }
  return text;
}

/** The options that `run` and the commands of compositions have in common. */
void addRunOptions(CLI::App& app, RunCommand& run, RunTexts& texts) {
  app.add_option("ARGUMENT", texts.images.arguments,
                 "images in the declared order of the operator's image properties, and properties as name=value; an "
                 "image whose name looks like that can be given as ./name=value. A kernel is a .npy file or numbers, "
                 "with rows separated by ';' and plans by '|': kernel=\"1 2 1; 2 4 2; 1 2 1\"");
  app.add_option("--kernel", texts.kernel,
                 "the same as kernel=TEXT; also gauss(SIGMA), box(N), sobel-x, sobel-y, sobel-z or laplace")
      ->type_name("TEXT");
  app.add_option("--element", texts.element,
                 "the same as element=TEXT, such as \"ball(3)\", \"line(21, 30)\", \"mask(FILE.npy)\"; "
                 "docs/elements.md lists them all")
      ->type_name("TEXT");
  app.add_option("--spacing", texts.spacing,
                 "auto: the radius of a ball, ellipsoid, disk or ellipse is in the units of the spacing in the first "
                 "input's file, usually millimetres")
      ->type_name("auto");
  app.add_option("--kernel-origin", run.kernelOrigin,
                 "position in the kernel of the voxel itself: column, row and, in 3-D, plan, counted from 0; default "
                 "half of each size, rounded down")
      ->type_name("C,R[,P]");
  addImageOptions(app, texts.images);
  app.add_option("--runner", run.runner,
                 "use this implementation; default the best one that accepts; \"qorn operators OPERATOR\" lists them")
      ->type_name("NAME");
  app.add_option("--threads", texts.nbThreads, "use at most this many threads")->type_name("N");
  app.add_option("--max-extra-memory", texts.maxExtraMemory,
                 "memory that the run may use beyond its images: bytes, or with K, M, G of 1024; default half of the "
                 "free memory")
      ->type_name("SIZE");
  app.add_option("--max-voxels", texts.maxVoxels, "read compressed files of up to this many voxels; default 2^30")
      ->type_name("N");
  app.add_option("--memory", texts.memory,
                 "process images that are larger than memory in windows that need about this much: bytes, or with "
                 "K, M, G of 1024. Inputs are .npy, uncompressed TIFF or .nii; the result is the same")
      ->type_name("SIZE");
  app.add_option("--crop", texts.crop,
                 "compute and write only this part of the result: ranges of columns, rows, plans, sequence and "
                 "spectral series, from 0, ends excluded; ':' and missing ranges are whole axes")
      ->type_name("X0:X1,Y0:Y1,...");
  app.add_option("--window", texts.window,
                 "compute this part of the result and write it into an existing .npy file; other voxels keep their "
                 "values. Several runs may write different parts of one file at the same time")
      ->type_name("X0:X1,Y0:Y1,...");
  app.add_option("--setting", texts.settings, "set one of the settings below; may be repeated")
      ->type_name("NAME=VALUE")
      ->allow_extra_args(false);
  addPluginOption(app, run.plugins);
  app.add_flag("--on-disk", run.isOnDisk, "keep the voxels of .npy files on disk, and read and write rows on demand");
  app.add_flag("--in-place", run.isInPlace,
               "use one image as the first input and as the output, in memory or, with --on-disk, in the output's "
               "file; the input file isn't changed");
  addNoClobberFlag(app, run.isReplacing);
  app.add_flag("--json", run.isJson, "print the result as JSON");
  app.add_flag("--quiet", run.isQuiet, "show no progress");
  app.footer(describeSettings);
}

/** A window is written into an existing file, which isn't replaced. */
void checkWindowOptions(RunCommand const& run) {
  if (run.crop && run.isInPlace) throw UsageError("--crop", "can't be used with --in-place");
  if (run.memory && run.isInPlace) throw UsageError("--memory", "can't be used with --in-place");
  if (run.memory && run.isOnDisk) throw UsageError("--memory", "can't be used with --on-disk");
  if (run.memory && run.window) throw UsageError("--memory", "can't be used with --window");
  if (!run.window) return;
  if (run.crop) throw UsageError("--window", "can't be used with --crop");
  if (run.isInPlace) throw UsageError("--window", "can't be used with --in-place");
  if (!run.isReplacing) throw UsageError("--window", "writes into an existing file; leave out --no-clobber");
}

void addRun(CLI::App& app, RunCommand& run, RunTexts& texts) {
  app.add_option("OPERATOR", run.operatorName, "one of those that \"qorn operators\" lists")->required();
  addRunOptions(app, run, texts);
}

/** The commands that are operators with an element. */
struct Composition {
  char const *command, *operatorName, *help;
};
constexpr Composition cCompositions[] = {
    {"dilate", "Dilate", "the largest voxel of an element: qorn dilate IN OUT --element \"ball(3)\""},
    {"erode", "Erode", "the smallest voxel of an element"},
    {"open", "Open", "erosion, then dilation: removes bright details that are smaller than the element"},
    {"close", "Close", "dilation, then erosion: fills dark details that are smaller than the element"},
    {"white-tophat", "WhiteTopHat", "what an opening removes"},
    {"black-tophat", "BlackTopHat", "what a closing fills"},
    {"gradient", "Gradient", "dilation minus erosion; gradientMode=outer or inner for half of it"}};

void finishRun(RunCommand& run, RunTexts const& texts) {
  finishImages(run, texts.images);
  if (texts.kernel) run.properties.emplace_back("kernel", *texts.kernel);
  if (texts.element) run.properties.emplace_back("element", *texts.element);
  if (texts.spacing && *texts.spacing != "auto") throw UsageError("--spacing " + *texts.spacing, "must be auto");
  run.hasSpacingOfFile = texts.spacing.has_value();
  for (std::string const& setting : texts.settings) run.settings.push_back(parseSetting(setting));
  if (texts.nbThreads) {
    std::string const what = "--threads " + *texts.nbThreads;
    run.nbThreads = parseNumberOrThrow<unsigned int>(what, *texts.nbThreads, "unsigned integer");
    if (*run.nbThreads < 1 || *run.nbThreads > cMaxThreads) {
      throw UsageError(what, "must be from 1 to " + std::to_string(cMaxThreads));
    }
  }
  if (texts.maxExtraMemory) {
    run.maxExtraMemory = parseBytesOrThrow("--max-extra-memory " + *texts.maxExtraMemory, *texts.maxExtraMemory);
  }
  if (texts.memory) run.memory = parseBytesOrThrow("--memory " + *texts.memory, *texts.memory);
  if (texts.crop) run.crop = parseWindow("--crop", *texts.crop);
  if (texts.window) run.window = parseWindow("--window", *texts.window);
  checkWindowOptions(run);
  if (texts.maxVoxels) {
    std::string const what = "--max-voxels " + *texts.maxVoxels;
    run.maxVoxels = parseNumberOrThrow<unsigned long>(what, *texts.maxVoxels, "unsigned integer");
    if (run.maxVoxels < 1 || run.maxVoxels > pxl::limits::cMaxNbVoxels)
      throw UsageError(what, "must be from 1 to 2^40");
  }
}

}  // namespace

Command parseCommandLine(int argc, char const* const* argv) {
  CLI::App app("Image operators for large scientific images.", "qorn");
  app.set_version_flag("--version", "qorn " QORN_VERSION);
  app.require_subcommand(0, 1);  // so that an unknown word isn't reported as a missing command
  RunCommand run;
  RunTexts runTexts;
  OperatorsCommand operators;
  ImageTexts operatorsTexts;
  InfoCommand info;
  ElementCommand element;
  std::vector<std::string> elementTexts;

  CLI::App* const runApp = app.add_subcommand("run", "run an operator on images and print what it measures");
  addRun(*runApp, run, runTexts);
  std::vector<CLI::App*> compositionApps;
  for (Composition const& composition : cCompositions) {
    compositionApps.push_back(app.add_subcommand(composition.command, composition.help));
    addRunOptions(*compositionApps.back(), run, runTexts);
  }

  CLI::App* const operatorsApp =
      app.add_subcommand("operators", "list the operators and their runners, or describe one");
  operatorsApp->add_option("OPERATOR", operators.operatorName, "describe this one");
  operatorsApp->add_option("ARGUMENT", operatorsTexts.arguments,
                           "input images and properties as name=value, as they would be given to \"run\": shows for "
                           "each implementation whether it accepts them, and why not");
  addImageOptions(*operatorsApp, operatorsTexts);
  addPluginOption(*operatorsApp, operators.plugins);
  operatorsApp->add_flag("--json", operators.isJson, "print JSON");

  CLI::App* const infoApp = app.add_subcommand("info", "show type, sizes, samples and format of images");
  infoApp->add_option("IMAGE", info.images, "files of type .npy, .tif, .tiff, .png, .nii or .nii.gz")->required();
  infoApp->add_flag("--json", info.isJson, "print JSON");

  CLI::App* const elementApp =
      app.add_subcommand("element", "show the structuring element of a morphological operator");
  elementApp
      ->add_option("OPERATOR", element.operatorName, "a dilation or an erosion, or an element such as \"ball(3)\"")
      ->required();
  elementApp->add_option("PROPERTY", elementTexts, "properties as name=value");
  elementApp
      ->add_option("--output", element.output, "save the element as a mask of 0 and 1, centred on the voxel itself")
      ->type_name("FILE");
  addNoClobberFlag(*elementApp, element.isReplacing);
  addPluginOption(*elementApp, element.plugins);

  if (argc < 2) return TextCommand{app.help(), true};
  try {
    app.parse(argc, argv);
  } catch (CLI::ParseError const& error) {
    if (error.get_exit_code() != static_cast<int>(CLI::ExitCodes::Success)) {
      throw UsageError("command line", error.what());
    }
    std::ostringstream text;
    app.exit(error, text, text);
    return TextCommand{text.str()};
  }
  if (operatorsApp->parsed()) {
    finishImages(operators, operatorsTexts);
    return operators;
  }
  if (infoApp->parsed()) return info;
  if (elementApp->parsed()) {
    for (std::string const& text : elementTexts) {
      auto assignment = splitAssignment(text);
      if (!assignment) throw UsageError(text, "expected name=value");
      element.properties.push_back(std::move(*assignment));
    }
    return element;
  }
  for (std::size_t i = 0; i < compositionApps.size(); ++i) {
    if (compositionApps[i]->parsed()) run.operatorName = cCompositions[i].operatorName;
  }
  if (run.operatorName.empty()) throw UsageError("command line", "a command is missing");
  finishRun(run, runTexts);
  return run;
}

}  // namespace qorn
