#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "pxl/AlgoInfo.h"
#include "pxl/BaseAlgorithm.h"
#include "pxl/Property.h"
#include "qorn/io/ImageHeader.h"

/** Operators for commands. All that is known of an operator comes from the host's descriptions. */
namespace qorn {

/** The record of an operator. @throws UsageError there is no operator with this name */
pxl::AlgoInfo& findOperator(std::string const& name);

/** Loads these plug-ins, or those of the host's folder if there are none. @throws ProgramError */
void loadPlugins(std::vector<std::string> const& paths);

/** Whether a property is given as name=value; images are given as paths, and measures are results. */
bool isGivenByName(pxl::PropertyBase const& property);

/** How many properties of a kind an algorithm has. */
std::size_t countProperties(pxl::BaseAlgorithm const& algorithm, pxl::PropertyKinds kind);

/**
 * Sets properties by name and checks that none is missing. `kernelOrigin` is that of a kernel, see setKernel().
 * @throws UsageError a name is unknown or occurs twice, a value is invalid, a property has no value, or there is an
 *                    origin without a kernel
 */
void setProperties(pxl::BaseAlgorithm& algorithm, std::vector<std::pair<std::string, std::string>> const& values,
                   std::optional<std::string> const& kernelOrigin);

/** @throws UsageError the algorithm objects to its values */
void checkValues(pxl::BaseAlgorithm const& algorithm);

/**
 * The header of an operator's output for an input with this header: of the given type, else the operator's natural
 * type, and with the scale of the values that it computes.
 */
io::ImageHeader makeOutputHeader(pxl::BaseAlgorithm const& algorithm, io::ImageHeader header,
                                 std::optional<pxl::VoxelTypes> type);

/**
 * Called before any file is opened.
 * @throws ProgramError no plug-in provides the operator
 * @throws UsageError   no runner has the name that was set
 */
void checkIsOffered(pxl::BaseAlgorithm const& algorithm);

}  // namespace qorn
