#pragma once

namespace pxl {

class BaseAlgorithm;
class Runnable;

/** The accepting runner with the highest optimisation type, the earliest on ties. @throws RuntimeError none accepts
 */
Runnable* chooseRunner(BaseAlgorithm& algorithm);

}  // namespace pxl
