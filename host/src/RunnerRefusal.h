#pragma once

#include <string>
#include <vector>

namespace pxl {

class BaseAlgorithm;
class Runnable;

/**
 * Why none of these runners takes an algorithm. Runners only say yes or no; what would have to be different is found
 * by asking them again about stand-ins of the images and other values of the properties, on a copy of the algorithm.
 */
std::string explainRefusal(BaseAlgorithm const& algorithm, std::vector<Runnable*> const& runners);

/** The same of one runner, without the operator's name. */
std::string explainOneRefusal(BaseAlgorithm const& algorithm, Runnable& runner);

}  // namespace pxl
