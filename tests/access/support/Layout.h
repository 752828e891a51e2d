#pragma once

/** Access to objects as compiled code of another library does it. */
namespace access_test {

/** The offset of a field in its object, in bytes. */
template <class Object, class Field>
long offsetOf(Object const& object, Field const& field) {
  return reinterpret_cast<char const*>(&field) - reinterpret_cast<char const*>(&object);
}

/** The virtual operation in a slot, as a function whose first argument is the object. */
template <class Function, class Object>
Function* getSlot(Object const& object, unsigned long slot) {
  return reinterpret_cast<Function*>((*reinterpret_cast<void* const* const*>(&object))[slot]);
}

}  // namespace access_test
