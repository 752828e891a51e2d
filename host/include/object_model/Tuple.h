#pragma once

#include <vector>

#include "object_model/Export.h"

namespace object_model {

/** A sequence of unsigned 64-bit numbers whose length is fixed at construction, such as the shape of a measure. */
class OBJECT_MODEL_API Tuple {
 public:
  virtual ~Tuple();

  unsigned long getSize() const;

  /** The element at `index`, which must be below getSize(); not checked. */
  unsigned long& operator[](unsigned long index);
  unsigned long const& operator[](unsigned long index) const;

 protected:
  explicit Tuple(unsigned long size);

 private:
  std::vector<unsigned long> m_values;
};

/** A tuple of any length; its elements start as 0. */
class OBJECT_MODEL_API TupleX : public Tuple {
 public:
  explicit TupleX(unsigned long size);
  ~TupleX() override;
};

}  // namespace object_model
