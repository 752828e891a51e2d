#pragma once

namespace pxl {

/** Base of classes whose objects are neither copied nor moved. */
class Noncopyable {
 public:
  Noncopyable(Noncopyable const&) = delete;
  Noncopyable& operator=(Noncopyable const&) = delete;

 protected:
  Noncopyable() = default;
  ~Noncopyable() = default;
};

}  // namespace pxl
