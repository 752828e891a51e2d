#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "pxl/Export.h"
#include "pxl/Noncopyable.h"

namespace pxl {

class BaseAlgorithm;
class Runnable;

/** How an operator walks an image with several plans; decides how the host cuts its work. */
enum class WorkingDimension {
  cPlanByPlan,   ///< one plan after the other
  cVolume,       ///< whole volumes, with neighbours in all directions
  cVoxelByVoxel  ///< whole volumes, each voxel independently of its neighbours
};

/**
 * The record of one operator class: its name, its purpose, how to make an algorithm object, and the runners that
 * plug-ins have registered for it. Records live as long as the process. All operations are thread-safe.
 */
class PXL_API AlgoInfo : private Noncopyable {
 public:
  using Factory = std::unique_ptr<BaseAlgorithm> (*)();

  /** @param composition  the host's own runner of an operator that is made of other operators, else null */
  AlgoInfo(char const* name, char const* category, char const* help, WorkingDimension dimension, Factory factory,
           Runnable* composition = nullptr);
  ~AlgoInfo();

  char const* getName() const;      ///< such as "Dilation2d"
  char const* getCategory() const;  ///< such as "morphology"
  char const* getHelp() const;      ///< one line
  WorkingDimension getWorkingDimension() const;
  /** Whether the host runs the operator itself, with the runners of other operators. */
  bool isComposed() const;

  /** A new algorithm object with its default properties. */
  std::unique_ptr<BaseAlgorithm> create() const;

  /** Adds a runner, which the record doesn't own. It must stay alive until it is removed. */
  void addRunner(Runnable* runner);
  /** Removes a runner; one that isn't registered is ignored. */
  void removeRunner(Runnable* runner);
  /** The registered runners, in the order in which they were added. */
  std::vector<Runnable*> getRunners() const;

  /** The records of all operators of the host, in a fixed order. */
  static std::vector<AlgoInfo*> const& getAll();
  /** The record with this name, or null. */
  static AlgoInfo* find(char const* name);

 private:
  char const* m_name;
  char const* m_category;
  char const* m_help;
  WorkingDimension m_dimension;
  Factory m_factory;
  bool m_isComposed;
  mutable std::mutex m_mutex;
  std::vector<Runnable*> m_runners;
};

}  // namespace pxl
