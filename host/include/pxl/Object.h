#pragma once

#include <atomic>

#include "object_model/Export.h"
#include "pxl/Noncopyable.h"

namespace pxl {

/** Reference-counted data of Objects; deletes itself with the last Object that holds it. Thread-safe. */
class OBJECT_MODEL_API RefImpl : private Noncopyable {
 public:
  void addReference();
  void removeReference();
  unsigned long getNbReferences() const;

 protected:
  RefImpl();
  virtual ~RefImpl();

 private:
  std::atomic<unsigned long> m_nbReferences;
};

/** Handle of a RefImpl. Copying shares the data and costs one atomic increment. */
class OBJECT_MODEL_API Object {
 public:
  Object(Object const& other);
  Object& operator=(Object const& other);
  virtual ~Object();

 protected:
  /** Takes a share of `implementation`, which may be null. */
  explicit Object(RefImpl* implementation);
  RefImpl* getImplementation() const;

 private:
  RefImpl* m_implementation;
};

}  // namespace pxl
