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

/** For which processing regions the result is that part of the whole result. It always is for the whole image. */
enum class RegionUses {
  cAnyBox,        ///< any rows, columns and plans; sequence and spectral positions from 0 on
  cAnyRectangle,  ///< any rows and columns; plans, sequence and spectral positions from 0 on
  cFromOrigin,    ///< those that begin at 0 in every dimension
  cWholeSlices,   ///< the same, of whole plans for an operator that works plan by plan, else of whole volumes
  cWholeImage     ///< none but the whole image
};

/** A runner that is registered for an operator, and whether it accepts an algorithm with its present properties. */
struct RunnerInfo {
  String name;  ///< see Runnable::getName()
  int optimType;
  bool isAccepting;
  String refusal;  ///< why it doesn't accept, as far as known; one line
};

/**
 * An operator with its parameters, ready to be executed. Derived classes add public properties.
 *
 * execute() blocks; cancelExecution() and getProgress() may be called from any thread meanwhile. One object has at
 * most one run at a time; different objects run concurrently.
 */
class PXL_API BaseAlgorithm : private Noncopyable {
 public:
  virtual ~BaseAlgorithm();

  /** The record of the operator's class. */
  virtual AlgoInfo* getAlgoInfo() const = 0;

  /**
   * Checks the images and runs the accepting runner with the highest optimisation type, the earliest on ties.
   *
   * @throws InvalidCall          images are missing, differ in size or overlap in part; the output isn't writable, or
   *                              its voxels overlap each other; the region reaches beyond the image or isn't one that
   *                              getRegionUse() allows; validate() returns a text; a run is in progress
   * @throws RuntimeError         no runner accepts, and the text says why as far as known; an adapter couldn't store
   *                              the result, see ImageModelAdapter; the process was forked from one that had run an
   *                              algorithm, so that its worker threads are missing
   * @throws ExceptionCancelation the run was cancelled; an output image then holds what was written so far
   * Exceptions of the runner are passed on unchanged.
   */
  void execute();

  /** The registered runners in the order in which they were added, with the present properties. */
  std::vector<RunnerInfo> getRunners();
  /**
   * Restricts execute() to the runners of this name. It throws RuntimeError if none of them is registered and
   * accepts. A composed operator passes the name on to its steps. An empty name removes the restriction.
   */
  void setRunner(String const& name);
  String const& getRunner() const;

  /**
   * Computes a part of the whole result, bit for bit as in a run on whole images. An operator that measures
   * measures the window. During the run the image properties hold other images.
   *
   * Sizes: the output has the size of the inputs, and its voxels outside the window keep their values; or it has the
   * size of the window.
   * Aliasing: input and output may be one image. The window is computed from the voxels as they are at the call. A
   * later window reads what this one wrote, so in place only an operator without margins can be run window by window.
   * Memory: an operator with margins needs a temporary image, except for regions that getRegionUse() allows within
   * an output of the size of the inputs. It is on disk if an image of the run is, or if it exceeds the extra memory.
   *
   * @throws InvalidCall          the window is empty or reaches beyond the images; the output has neither size; a
   *                              processing region is set; and as execute()
   * @throws RuntimeError         the temporary image can't be made; and as execute()
   * @throws ExceptionCancelation as execute()
   */
  void executeOnWindow(access::Region const& window);

  /**
   * Asks the present run to end as soon as it can; without a run nothing happens. From any thread; doesn't wait. A
   * RunInBackground can be cancelled before it begins.
   */
  void cancelExecution();

  /** The finished fraction of the present or last run, from 0 to 1; never decreases within a run. From any thread. */
  double getProgress() const;

  /**
   * Restricts runs to a region of the images until clearProcessingRegion(). Voxels outside it are read as neighbours
   * and keep their values. execute() refuses a region whose result isn't that part of the whole result, see
   * getRegionUse().
   */
  void setProcessingRegion(access::Region const& region);
  void clearProcessingRegion();
  bool hasProcessingRegion() const;
  /**
   * The regions that execute() accepts with the present properties. Here cAnyBox, which the loops of filters support.
   */
  virtual RegionUses getRegionUse() const;
  access::Region const& getProcessingRegion() const;

  /**
   * The margins around a window, with the present properties: a run on the window enlarged by them, clamped to the
   * image, gives the window the bits of the whole result. Here 0 for an operator that works voxel by voxel, and more
   * than any image has for all others.
   * @throws InvalidCall the element can't be made
   */
  virtual kernel::Margins getMargins() const;
  /** How many plans of each stack a run writes, from 0 on; the others keep their values. Here all. */
  virtual unsigned long getMaxNumOfWrittenPlans() const;

  /**
   * What may surprise a user of a run with the present properties, such as an output that is left unchanged. One line
   * for a program to show, or empty.
   */
  virtual String getWarning() const;

  /**
   * Why a run with the present property values is refused, or empty. One line, which execute() throws as InvalidCall.
   * Here: a real number that isn't finite.
   */
  virtual String validate() const;

  /**
   * An estimate of the steps per voxel of a run with the present properties: passes, or voxels of an element.
   * Programs use it to warn before a long run. Infinite where a run needs much more memory than its images. Here 1.
   */
  virtual double estimateSteps() const;

  /**
   * The offsets of the input voxels that a result voxel away from the edge is computed from, with the present
   * properties; each once, in no particular order. Empty where a run leaves its output unchanged. Here {0, 0, 0}.
   * @throws InvalidCall there are more than 10^6, or validate() returns a text
   */
  virtual std::vector<kernel::Offset3D> getOffsets() const;

  /** Whether the voxels of any image property are on disk, also through proxies and adapters. */
  bool hasPropertyImageOnDisk() const;

  /**
   * Bytes that a run may allocate beyond its images: what was set here, else the setting, else half of the available
   * memory.
   */
  unsigned long getMaximumExtraMemoryUsageInBytes() const;
  void setMaximumExtraMemoryUsageInBytes(unsigned long bytes);

  /** The natural voxel type of an output image if the first input image is of type `ofInput`. Here the same type. */
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
