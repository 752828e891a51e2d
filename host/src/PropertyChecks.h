#pragma once

#include <vector>

#include "pxl/Property.h"

namespace pxl {

class BaseAlgorithm;
class ImageModel;

struct NamedImage {
  ImageModel const* image;
  char const* name;  ///< of the property
};

/** The images of an algorithm's properties of one kind, with their names. */
std::vector<NamedImage> getNamedImages(BaseAlgorithm const& algorithm, PropertyKinds kind);

/** The images of an algorithm's properties of one kind, in declared order; null for one that isn't set. */
std::vector<ImageModel const*> getImages(BaseAlgorithm const& algorithm, PropertyKinds kind);

/**
 * The checks of properties that don't depend on the runner.
 * @throws InvalidCall a property is missing; images differ in size; an output is read-only, has overlapping voxels or
 *                     overlaps an input in part; the processing region reaches beyond the images
 */
void checkProperties(BaseAlgorithm const& algorithm);

}  // namespace pxl
