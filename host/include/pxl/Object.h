#pragma once

#include <atomic>

#include "object_model/Export.h"
#include "pxl/Noncopyable.h"

namespace pxl {

/** Shared data behind Objects: counts the Objects that hold it and deletes itself with the last one. Thread-safe. */
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

/** Handle on a RefImpl: copying shares the data and costs one atomic increment. */
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
