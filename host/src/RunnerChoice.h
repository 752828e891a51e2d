#pragma once

#include <vector>

#include "pxl/Property.h"

namespace pxl {

class BaseAlgorithm;
struct RunnerInfo;
class ImageModel;
class Runnable;

struct NamedImage {
  ImageModel const* image;
  char const* name;  ///< the property's
};

/** The images of an algorithm's properties of one kind, with their names. */
std::vector<NamedImage> getNamedImages(BaseAlgorithm const& algorithm, PropertyKinds kind);

/** The images of an algorithm's properties of one kind, in declared order; null where none is set. */
std::vector<ImageModel const*> getImages(BaseAlgorithm const& algorithm, PropertyKinds kind);

/**
 * What every operator asks of its properties, whichever runner is taken.
 * @throws InvalidCall a property is missing; images differ in size, an output is read-only, has voxels on each other
 *                     or overlaps an input in part; the region to process reaches beyond the images
 */
void checkProperties(BaseAlgorithm const& algorithm);

/**
 * The accepting runner with the highest optimisation type, the earliest on ties; of those with the wanted name, if
 * one is set. @throws RuntimeError none accepts
 */
Runnable* chooseRunner(BaseAlgorithm& algorithm);

/** See BaseAlgorithm::getRunners(). */
std::vector<RunnerInfo> describeRunners(BaseAlgorithm& algorithm);

}  // namespace pxl
