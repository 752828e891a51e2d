#pragma once

#include <vector>

#include "pxl/AlgoInfo.h"
#include "pxl/BaseAlgorithm.h"
#include "qorn/CommandLine.h"

namespace qorn {

/** Whether a command has images or properties that runners can be asked about. */
bool isQuestion(OperatorsCommand const& command);

/**
 * What the runners of an operator answer for the images and properties of a command. Only the headers of the images
 * are read.
 * @throws UsageError too few or too many images, or wrong properties
 * @throws FileError  an image can't be read
 */
std::vector<pxl::RunnerInfo> askRunners(pxl::AlgoInfo const& record, OperatorsCommand const& command);

}  // namespace qorn
