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

/** What kind of value a property holds; visitProperty() gives the property in its own type. */
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

/** The part of a property that doesn't depend on its type: its description. */
class PXL_API PropertyBase : private Noncopyable {
 public:
  virtual ~PropertyBase();

  char const* getName() const;  ///< the name of the member
  char const* getHelp() const;  ///< one line
  PropertyKinds getKind() const;
  bool hasDefault() const;
  /** The names of values, of an integer that has some. */
  Choices const& getChoices() const;
  /**
   * Whether a value was given: by default, or by set() with something other than a null pointer, an empty kernel or
   * no element.
   */
  virtual bool isSet() const = 0;

  /** Takes the value of a property of the same type. @throws InvalidCall the types differ */
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
 * A parameter of an operator. The description (name, default, names of values, one line of help) stands in the
 * operator's class and nowhere else. Not synchronised: properties are set before a run and only read during it.
 */
template <class T>
class PXL_API Property final : public PropertyParent<T>::Type {
 public:
  /** A property that must be given. */
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

/** A visitor made of lambdas. One that takes a PropertyBase serves all the types that the others don't take. */
template <class... Lambdas>
struct Overloaded : Lambdas... {
  explicit Overloaded(Lambdas... lambdas) : Lambdas(std::move(lambdas))... {}
  using Lambdas::operator()...;
};

/** `Derived` or, for a `Base` that is const, `Derived const`. */
template <class Derived, class Base>
using WithConstOf = std::conditional_t<std::is_const_v<Base>, Derived const, Derived>;

/**
 * Calls `visitor` with the property in its own type: a Property<T>&, or a MeasureProperty& for any measure. Returns
 * what the visitor returns, which must be of one type. The only place where a kind becomes a type.
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

/** The property in its own type if it holds a T, else null. */
template <class T, class Base>
auto asProperty(Base& property) {
  using Typed = WithConstOf<Property<T>, Base>;
  return visitProperty(
      property, Overloaded{[](Typed& typed) -> Typed* { return &typed; }, [](Base&) -> Typed* { return nullptr; }});
}

}  // namespace pxl
