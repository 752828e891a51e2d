#pragma once

#include <gtest/gtest.h>

#include <exception>
#include <string>
#include <typeinfo>

#include "pxl/Exception.h"

namespace host_test {

/** The text of the E, and of no other class, that `action` throws; a failure of the test when it doesn't. */
template <class E, class Action>
std::string raisedBy(Action action) {
  try {
    action();
  } catch (std::exception const& exception) {
    EXPECT_EQ(typeid(exception), typeid(E)) << exception.what();
    return exception.what();
  }
  ADD_FAILURE() << "nothing was thrown";
  return std::string();
}

template <class Action>
std::string refusalOf(Action action) {
  return raisedBy<pxl::InvalidCall>(action);
}

inline bool contains(std::string const& text, std::string const& part) {
  return text.find(part) != std::string::npos;
}

}  // namespace host_test
