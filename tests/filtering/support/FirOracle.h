#pragma once

#include <vector>

#include "oracle/Conversion.h"
#include "oracle/Oracle.h"

/** Correlations with plain loops, in the order of their taps. */
namespace oracle {

struct Tap {
  long col;
  long row;
  long plan;
  double coefficient;
};
using Taps = std::vector<Tap>;

/** The type that results of type Out are computed in. */
template <class Out>
using Precision = std::conditional_t<(sizeof(Out) < 4) || std::is_same_v<Out, float>, float, double>;

/** The sum for one voxel; each product and each sum is rounded to T. */
template <class T>
T correlateAt(Image<T> const& image, Five const& p, Taps const& taps) {
  auto const productOf = [&](Tap const& tap) {
    T const voxel = mirrorAt(image, {p[0] + tap.col, p[1] + tap.row, p[2] + tap.plan, p[3], p[4]});
    return static_cast<T>(voxel * static_cast<T>(tap.coefficient));
  };
  T sum = productOf(taps[0]);
  for (unsigned long i = 1; i < taps.size(); ++i) sum = static_cast<T>(sum + productOf(taps[i]));
  return sum;
}

/** In 2D only plan 0 is computed; the others keep the values of `output`. */
template <class Out, class In>
Image<Out> correlate(Image<In> const& input, Taps const& taps, int dimension, Image<Out> output) {
  using T = Precision<Out>;
  Image<T> image(input.sizes);
  forEachPosition(image.sizes, [&](Five const& p) { image.at(p) = convert<T>(input.at(p)); });
  forEachPosition(image.sizes, [&](Five const& p) {
    if (dimension == 3 || p[2] == 0) output.at(p) = convert<Out>(correlateAt(image, p, taps));
  });
  return output;
}

}  // namespace oracle
