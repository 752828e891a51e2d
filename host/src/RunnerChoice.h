#pragma once

#include <vector>

namespace pxl {

class BaseAlgorithm;
struct RunnerInfo;
class Runnable;

/**
 * The accepting runner with the highest optimisation type, the earliest on ties; of those with the wanted name, if
 * one is set. @throws RuntimeError none accepts
 */
Runnable* chooseRunner(BaseAlgorithm& algorithm);

/** See BaseAlgorithm::getRunners(). */
std::vector<RunnerInfo> describeRunners(BaseAlgorithm& algorithm);

}  // namespace pxl
