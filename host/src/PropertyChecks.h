#pragma once

#include <vector>

#include "pxl/Property.h"

namespace pxl {

class BaseAlgorithm;
class ImageModel;

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

}  // namespace pxl
