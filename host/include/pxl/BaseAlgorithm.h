#pragma once

#include <vector>

#include "pxl/Export.h"
#include "pxl/Noncopyable.h"
#include "pxl/String.h"
#include "pxl/VoxelTypes.h"
#include "pxl/access/Region.h"
#include "pxl/kernel/Margins.h"
#include "pxl/kernel/Offsets.h"

namespace pxl {

class AlgoInfo;
class PropertyBase;
class WindowRun;
namespace algorithms {
class AbstractPrivateImplementation;
struct ExecutionState;
}  // namespace algorithms

/** Which regions to process give the same part of the whole result. The whole image always does. */
enum class RegionUses {
  cAnyBox,        ///< any rows, columns and plans; sequence and spectral positions from 0 on
  cAnyRectangle,  ///< any rows and columns; plans, sequence and spectral positions from 0 on
  cFromOrigin,    ///< those that begin at 0 in every dimension
  cWholeSlices,   ///< the same, of whole plans for an operator that works plan by plan, else of whole volumes
  cWholeImage     ///< none but the whole image
};

/** A runner that is registered for an operator, and whether it takes an algorithm as it is. */
struct RunnerInfo {
  String name;  ///< see Runnable::getName()
  int optimType;
  bool isAccepting;
  String refusal;  ///< why it doesn't accept, as far as it can be told; one line
};

/**
 * An operator with its parameters, ready to be executed. Derived classes add public properties.
 *
 * execute() blocks; cancelExecution() and getProgress() may be called from any thread meanwhile. One object runs once
 * at a time; different objects run side by side.
 */
class PXL_API BaseAlgorithm : private Noncopyable {
 public:
  virtual ~BaseAlgorithm();

  /** The record of the operator's class. */
  virtual AlgoInfo* getAlgoInfo() const = 0;

  /**
   * Checks the images, chooses among the registered runners the accepting one with the highest optimisation type
   * (the earliest on ties) and runs it.
   *
   * @throws InvalidCall          images missing, of different sizes, overlapping in part, output not writable or with
   *                              voxels that lie on each other, a region beyond the image or one that getRegionUse()
   *                              leaves out, an objection, or a run going on
   * @throws RuntimeError         no runner accepts; the text says why as far as it can be told. Or an adapter could
   *                              not store the result, see ImageModelAdapter. Or the process was forked from one
   *                              that had run an algorithm: its threads are missing
   * @throws ExceptionCancelation the run was cancelled; an output image then holds what was written so far
   * Everything a runner throws comes through unchanged.
   */
  void execute();

  /** The registered runners in the order in which they were added, with the present properties. */
  std::vector<RunnerInfo> getRunners();
  /**
   * Leaves execute() only the runners of this name to choose from, so that it throws RuntimeError where none of them
   * is registered or accepts. An empty name lets it choose among all again.
   */
  void setRunner(String const& name);
  String const& getRunner() const;

  /**
   * Computes a part of the whole result, with the same bits as in a run on whole images. An operator that measures
   * measures the window. The output has the size of the inputs, and its voxels outside the window keep their values,
   * or it has the size of the window. Input and output may be one image: the window is computed from the voxels as
   * they are at the call; a further window reads what this one wrote, so that windows in place aren't parts of one
   * result unless the operator has no margins. During the run the image properties hold other images.
   *
   * With margins a temporary image is used, except for regions that getRegionUse() allows within an output of the
   * size of the inputs. It is on disk if an image of the run is, or if it would not fit into the extra memory.
   *
   * @throws InvalidCall          an empty window, one that reaches beyond the images, an output of neither size, a
   *                              region to process; and all that execute() refuses
   * @throws RuntimeError         the temporary image can't be made; and as execute() does
   * @throws ExceptionCancelation as execute() does
   */
  void executeOnWindow(access::Region const& window);

  /**
   * Asks the present run to end as soon as it can; without a run nothing happens. From any thread, never waits. A
   * RunInBackground can be cancelled before it begins.
   */
  void cancelExecution();

  /** What is done of the present or last run, from 0 to 1, never going back within a run. From any thread. */
  double getProgress() const;

  /**
   * Restricts the work of runners to a region of the images, until clearProcessingRegion(). Voxels beyond it are read
   * as neighbours and keep their values. execute() refuses a region whose result would not be that part of the whole
   * result, see getRegionUse().
   */
  void setProcessingRegion(access::Region const& region);
  void clearProcessingRegion();
  bool hasProcessingRegion() const;
  /**
   * The regions that execute() takes with the present properties. Here cAnyBox, which is what the loops of filters
   * honour.
   */
  virtual RegionUses getRegionUse() const;
  access::Region const& getProcessingRegion() const;

  /**
   * What a window has to have around itself so that a run on the window with these margins, clamped to the image,
   * gives its inside the bits of the whole result, with the present properties. Here nothing for an operator that
   * works voxel by voxel, and for any other one more than an image has.
   * @throws InvalidCall an element that can't be made, as execute()
   */
  virtual kernel::Margins getMargins() const;
  /** How many plans of each stack a run writes, from 0 on; the others are left as they are. Here all. */
  virtual unsigned long getMaxNumOfWrittenPlans() const;

  /**
   * What a user may not expect of a run with the present properties, such as an output that stays as it is; one line
   * for a program to show, empty if there is nothing.
   */
  virtual String getNotice() const;

  /**
   * Why a run with the present property values is refused; one line, which execute() throws as InvalidCall, empty if
   * there is nothing. Here: a real number that isn't finite.
   */
  virtual String getObjection() const;

  /**
   * About how many steps a run with the present properties takes for each voxel: passes, or voxels of an element. For
   * programs that ask before they run. Infinite where a run needs much more memory than its images. Here 1.
   */
  virtual double estimateSteps() const;

  /**
   * Which voxels of the input a voxel of the result is computed from with the present properties, relative to it,
   * away from the edge; each once, in no particular order. Empty where a run leaves its output as it is. Here the
   * voxel alone.
   * @throws InvalidCall they are more than 10^6, or an objection
   */
  virtual std::vector<kernel::Offset3D> getOffsets() const;

  /** Whether any image property lives on disk, also through proxies and adapters. */
  bool hasPropertyImageOnDisk() const;

  /** Bytes that a run may take beyond its images: what was set here, else the setting, else half of what is free. */
  unsigned long getMaximumExtraMemoryUsageInBytes() const;
  void setMaximumExtraMemoryUsageInBytes(unsigned long bytes);

  /** The voxel type of the output images with a first input image of type `ofInput`. Here the same type. */
  virtual VoxelTypes getNaturalOutputType(VoxelTypes ofInput) const;

  /** The properties in their declared order. */
  std::vector<PropertyBase*> const& getProperties() const;
  /** The property with this name, or null. */
  PropertyBase* findProperty(char const* name) const;

 protected:
  BaseAlgorithm();

 private:
  friend class PropertyBase;
  friend class WindowRun;
  friend class RunInBackground;
  friend class algorithms::AbstractPrivateImplementation;

  void executeWithin(BaseAlgorithm& parent);

  std::vector<PropertyBase*> m_properties;
  access::Region m_processingRegion;
  bool m_hasProcessingRegion = false;
  bool m_hasExtraMemory = false;
  unsigned long m_extraMemory = 0;
  String m_runner;
  algorithms::ExecutionState* m_execution;  ///< owned; guarded by the lock of the cancel and progress frame
};

}  // namespace pxl
