#pragma once

#include <memory>
#include <type_traits>
#include <utility>

#include "pxl/Choices.h"
#include "pxl/Export.h"
#include "pxl/Forward.h"
#include "pxl/Noncopyable.h"
#include "pxl/kernel/Kernel.h"
#include "pxl/kernel/StructuringElement.h"

namespace pxl {

class BaseAlgorithm;
namespace analysis {
class Measure;
}

/** What kind of value a property holds; visitProperty() passes the property with its type. */
enum class PropertyKinds {
  cInputImage,
  cOutputImage,
  cInteger,
  cUnsignedInteger,
  cReal,
  cKernel2D,
  cKernel3D,
  cElement,
  cMeasure
};

/** The description of a property: the part that doesn't depend on its type. */
class PXL_API PropertyBase : private Noncopyable {
 public:
  virtual ~PropertyBase();

  char const* getName() const;  ///< the name of the member
  char const* getHelp() const;  ///< one line
  PropertyKinds getKind() const;
  bool hasDefault() const;
  /** The named values of an integer; empty for all others. */
  Choices const& getChoices() const;
  /**
   * Whether there is a value: a default, or one passed to set() that isn't a null pointer, an empty kernel or no
   * element.
   */
  virtual bool isSet() const = 0;

  /**
   * Copies the value of a property of the same type.
   * @throws InvalidCall the types differ
   */
  virtual void assign(PropertyBase const& other) = 0;

 protected:
  PropertyBase(BaseAlgorithm& owner, PropertyKinds kind, char const* name, char const* help, bool hasDefault,
               Choices const& choices = Choices());
  /** Null unless this is a MeasureProperty. */
  virtual std::unique_ptr<analysis::Measure> makeMeasure() = 0;

 private:
  char const* m_name;
  char const* m_help;
  PropertyKinds m_kind;
  bool m_hasDefault;
  Choices m_choices;
};

/** A property that holds a measure of some type. */
class PXL_API MeasureProperty : public PropertyBase {
 public:
  ~MeasureProperty() override;
  /** Makes a measure of the property's type, sets the property to it and returns it. */
  using PropertyBase::makeMeasure;

 protected:
  using PropertyBase::PropertyBase;
};

/** The base of Property<T>. Each type of measure has a specialisation. */
template <class T>
struct PropertyParent {
  using Type = PropertyBase;
};
template <>
struct PropertyParent<analysis::IntensityExtremaMsr*> {
  using Type = MeasureProperty;
};

/**
 * A parameter of an operator. Its description (name, default, named values, one line of help) is in the operator's
 * class and nowhere else. Not synchronised: properties are set before a run and only read during it.
 */
template <class T>
class PXL_API Property final : public PropertyParent<T>::Type {
 public:
  /** A property that must be set. */
  Property(BaseAlgorithm& owner, char const* name, char const* help);
  /** A property with a default. */
  Property(BaseAlgorithm& owner, char const* name, T const& defaultValue, char const* help);
  /** An integer with a default and with names for some of its values. */
  Property(BaseAlgorithm& owner, char const* name, T const& defaultValue, Choices const& choices, char const* help);
  ~Property() override;

  T get() const;
  operator T() const;
  void set(T const& value);
  Property& operator=(T const& value);

  T getDefault() const;
  bool isSet() const override;
  void assign(PropertyBase const& other) override;

 private:
  std::unique_ptr<analysis::Measure> makeMeasure() override;

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
extern template class Property<kernel::StructuringElement>;
extern template class Property<analysis::IntensityExtremaMsr*>;

/** A visitor made of lambdas. One that takes a PropertyBase handles all types that the others don't. */
template <class... Lambdas>
struct Overloaded : Lambdas... {
  explicit Overloaded(Lambdas... lambdas) : Lambdas(std::move(lambdas))... {}
  using Lambdas::operator()...;
};

/** `Derived const` if `Base` is const, else `Derived`. */
template <class Derived, class Base>
using WithConstOf = std::conditional_t<std::is_const_v<Base>, Derived const, Derived>;

/**
 * Calls `visitor` with the property as its own type: a Property<T>&, or a MeasureProperty& for any measure. Returns
 * what the visitor returns, which must be one type. The only place that maps a kind to a type.
 *
 * @param property  a PropertyBase, const or not
 */
template <class Base, class Visitor>
decltype(auto) visitProperty(Base& property, Visitor&& visitor) {
  switch (property.getKind()) {
    case PropertyKinds::cInputImage:
      return visitor(static_cast<WithConstOf<Property<ImageModel const*>, Base>&>(property));
    case PropertyKinds::cOutputImage:
      return visitor(static_cast<WithConstOf<Property<ImageModel*>, Base>&>(property));
    case PropertyKinds::cInteger:
      return visitor(static_cast<WithConstOf<Property<int>, Base>&>(property));
    case PropertyKinds::cUnsignedInteger:
      return visitor(static_cast<WithConstOf<Property<unsigned int>, Base>&>(property));
    case PropertyKinds::cReal:
      return visitor(static_cast<WithConstOf<Property<double>, Base>&>(property));
    case PropertyKinds::cKernel2D:
      return visitor(static_cast<WithConstOf<Property<kernel::Kernel2D>, Base>&>(property));
    case PropertyKinds::cKernel3D:
      return visitor(static_cast<WithConstOf<Property<kernel::Kernel3D>, Base>&>(property));
    case PropertyKinds::cElement:
      return visitor(static_cast<WithConstOf<Property<kernel::StructuringElement>, Base>&>(property));
    case PropertyKinds::cMeasure:
      break;
  }
  return visitor(static_cast<WithConstOf<MeasureProperty, Base>&>(property));
}

/** The name of the type of a property's value for users, such as "unsigned integer". */
PXL_API char const* getTypeName(PropertyBase const& property);

/** The property as a Property<T> if it holds a T, else null. */
template <class T, class Base>
auto asProperty(Base& property) {
  using Typed = WithConstOf<Property<T>, Base>;
  return visitProperty(
      property, Overloaded{[](Typed& typed) -> Typed* { return &typed; }, [](Base&) -> Typed* { return nullptr; }});
}

}  // namespace pxl
