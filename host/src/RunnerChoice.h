#pragma once

#include <vector>

namespace pxl {

class BaseAlgorithm;
struct RunnerInfo;
class Runnable;

/**
 * The accepting runner with the highest optimisation type, the earliest on ties; only among those with the requested
 * name, if one is set.
 * @throws RuntimeError none accepts
 */
Runnable* chooseRunner(BaseAlgorithm& algorithm);

/** See BaseAlgorithm::getRunners(). */
std::vector<RunnerInfo> describeRunners(BaseAlgorithm& algorithm);

}  // namespace pxl
