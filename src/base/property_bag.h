#pragma once

#include <string>

#include "base/value.h"

namespace plexum {

// Where a container keeps the control's properties. A failing bag throws.
class PropertyBag {
 public:
  PropertyBag() = default;
  PropertyBag(const PropertyBag&) = delete;
  PropertyBag& operator=(const PropertyBag&) = delete;
  virtual ~PropertyBag() = default;

  // The stored value of that name, or `fallback` where there is none. Texts are UTF-8.
  virtual Value ReadProperty(const std::string& name, const Value& fallback) = 0;

  // Stores a value; one equal to `fallback` need not be stored.
  virtual void WriteProperty(const std::string& name, const Value& value,
                             const Value& fallback) = 0;
};

}  // namespace plexum
