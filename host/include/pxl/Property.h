#pragma once

#include <memory>

#include "pxl/Export.h"
#include "pxl/Forward.h"
#include "pxl/Noncopyable.h"
#include "pxl/kernel/Kernel.h"

namespace pxl {

class BaseAlgorithm;
namespace analysis {
class Measure;
}

/** What kind of value a property holds, for programs that set properties by name. */
enum class PropertyKinds {
  cInputImage,
  cOutputImage,
  cInteger,
  cUnsignedInteger,
  cReal,
  cKernel2D,
  cKernel3D,
  cMeasure
};

/** The part of a property that doesn't depend on its type: its description. */
class PXL_API PropertyBase : private Noncopyable {
 public:
  virtual ~PropertyBase();

  char const* getName() const;  ///< the name of the member
  char const* getHelp() const;  ///< one line
  PropertyKinds getKind() const;
  bool hasDefault() const;
  /** Whether a value was given: by default, or by set() with something other than a null pointer or empty kernel. */
  virtual bool isSet() const = 0;

  /** Takes the value of a property of the same type. @throws InvalidCall the types differ */
  virtual void assign(PropertyBase const& other) = 0;
  /** Of a property that holds a measure: makes one, sets the property to it and returns it. Of any other null. */
  virtual std::unique_ptr<analysis::Measure> makeMeasure() = 0;

 protected:
  PropertyBase(BaseAlgorithm& owner, PropertyKinds kind, char const* name, char const* help, bool hasDefault);

 private:
  char const* m_name;
  char const* m_help;
  PropertyKinds m_kind;
  bool m_hasDefault;
};

/**
 * A parameter of an operator. The description (name, default, one line of help) stands in the operator's class and
 * nowhere else. Not synchronised: properties are set before a run and only read during it.
 */
template <class T>
class PXL_API Property final : public PropertyBase {
 public:
  /** A property that must be given. */
  Property(BaseAlgorithm& owner, char const* name, char const* help);
  /** A property with a default. */
  Property(BaseAlgorithm& owner, char const* name, T const& defaultValue, char const* help);
  ~Property() override;

  T get() const;
  operator T() const;
  void set(T const& value);
  Property& operator=(T const& value);

  T getDefault() const;
  bool isSet() const override;
  void assign(PropertyBase const& other) override;
  std::unique_ptr<analysis::Measure> makeMeasure() override;

 private:
  T m_value;
  T m_default;
  bool m_isSet;
};

extern template class Property<ImageModel const*>;
extern template class Property<ImageModel*>;
extern template class Property<int>;
extern template class Property<unsigned int>;
extern template class Property<double>;
extern template class Property<kernel::Kernel2D>;
extern template class Property<kernel::Kernel3D>;
extern template class Property<analysis::IntensityExtremaMsr*>;

}  // namespace pxl
