#pragma once

#include <string>
#include <vector>

namespace pxl {

class BaseAlgorithm;
class Runnable;

/**
 * Why none of these runners accepts an algorithm: their own explanations, and the changes that would make one of them
 * accept. The changes are found by asking the runners again about a copy of the algorithm, with stand-ins for the
 * images and other values of the properties.
 */
std::string explainRefusal(BaseAlgorithm& algorithm, std::vector<Runnable*> const& runners);

/** The same for one runner, without the operator's name. */
std::string explainOneRefusal(BaseAlgorithm& algorithm, Runnable& runner);

}  // namespace pxl
