#pragma once

#include <vector>

#include "pxl/AlgoInfo.h"
#include "pxl/BaseAlgorithm.h"
#include "qorn/CommandLine.h"

namespace qorn {

/** Whether a command gives images or properties that runners can be asked about. */
bool isQuestion(OperatorsCommand const& command);

/**
 * What the runners of an operator say to the images and properties of a command. Only the headers of the images are
 * read.
 * @throws UsageError too few or too many images, or wrong properties; FileError an image can't be read
 */
std::vector<pxl::RunnerInfo> askRunners(pxl::AlgoInfo const& record, OperatorsCommand const& command);

}  // namespace qorn
