#include "pxl/Object.h"

namespace pxl {

RefImpl::RefImpl() : m_nbReferences(0) {}
RefImpl::~RefImpl() = default;

void RefImpl::addReference() { m_nbReferences.fetch_add(1, std::memory_order_relaxed); }

void RefImpl::removeReference() {
  if (m_nbReferences.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}

unsigned long RefImpl::getNbReferences() const { return m_nbReferences.load(std::memory_order_relaxed); }

Object::Object(RefImpl* implementation) : m_implementation(implementation) {
  if (m_implementation) m_implementation->addReference();
}

Object::Object(Object const& other) : Object(other.m_implementation) {}

Object& Object::operator=(Object const& other) {
  if (other.m_implementation) other.m_implementation->addReference();
  if (m_implementation) m_implementation->removeReference();
  m_implementation = other.m_implementation;
  return *this;
}

Object::~Object() {
  if (m_implementation) m_implementation->removeReference();
}

RefImpl* Object::getImplementation() const { return m_implementation; }

}  // namespace pxl
