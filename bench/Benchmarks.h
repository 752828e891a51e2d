#pragma once

/** The benchmarks of each operator; main() registers them all. */
namespace bench {

void addCancel();
void addCompositions();
void addErosion();
void addFir();
void addIntensityExtrema();
void addLogical();
void addMorphology2d();
void addMorphology3d();
void addShapes();
void addWindows();

}  // namespace bench
