#include "object_model/Tuple.h"

namespace object_model {

Tuple::Tuple(unsigned long size) : m_values(size) {}
Tuple::~Tuple() = default;

unsigned long Tuple::getSize() const { return m_values.size(); }
unsigned long& Tuple::operator[](unsigned long index) { return m_values[index]; }
unsigned long const& Tuple::operator[](unsigned long index) const { return m_values[index]; }

TupleX::TupleX(unsigned long size) : Tuple(size) {}
TupleX::~TupleX() = default;

}  // namespace object_model
