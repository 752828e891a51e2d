#pragma once

#include <string>

#include "object_model/Export.h"

namespace pxl {

/** A text that owns its UTF-8 bytes. A null pointer counts as the empty text. */
class OBJECT_MODEL_API String {
 public:
  String();
  String(char const* text);
  String(std::string text);
  String& operator=(char const* text);

  char const* c_str() const;
  std::string const& str() const;
  bool empty() const;

 private:
  std::string m_text;
};

OBJECT_MODEL_API bool operator==(String const& a, String const& b);
OBJECT_MODEL_API bool operator!=(String const& a, String const& b);

}  // namespace pxl
