#pragma once

#include <string>
#include <vector>

namespace pxl {

class BaseAlgorithm;
class Runnable;

/**
 * Why none of these runners takes an algorithm: what they say themselves, and what would have to be different. That
 * is found by asking them again about stand-ins of the images and other values of the properties, on a copy of the
 * algorithm.
 */
std::string explainRefusal(BaseAlgorithm& algorithm, std::vector<Runnable*> const& runners);

/** The same of one runner, without the operator's name. */
std::string explainOneRefusal(BaseAlgorithm& algorithm, Runnable& runner);

}  // namespace pxl
