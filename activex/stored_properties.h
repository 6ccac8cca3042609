#pragma once

#include <map>
#include <string>
#include <string_view>

#include "activex/com_headers.h"
#include "base/property_bag.h"

namespace plexum::activex {

// A container's property bag as the control sees it. A value that isn't there reads as its default.
// Any other failure of the bag, and a value that can't be converted to its type, throws ComError.
class ContainerPropertyBag final : public PropertyBag {
 public:
  // Both must outlive it; there may be no log.
  ContainerPropertyBag(IPropertyBag* bag, IErrorLog* log) : bag_(bag), log_(log) {}

  Value ReadProperty(const std::string& name, const Value& fallback) override;
  void WriteProperty(const std::string& name, const Value& value, const Value& fallback) override;

 private:
  IPropertyBag* bag_;
  IErrorLog* log_;
};

// The control's properties and size as one piece of bytes, little-endian:
//
//   4  "PLXM"
//   4  version of the format, 1
//   4  length of what follows
//   8  width and height in 0.01 mm
//   4  number of properties, and for each of them
//        text  its name
//        2     VT_I4 or VT_BSTR
//        4 or text  its value
//
// A text is its length in bytes (4) and that many bytes of UTF-8. Later versions may only add at
// the end, which readers of version 1 skip. A format that they can't read gets another mark than
// PLXM.
class StoredProperties final : public PropertyBag {
 public:
  explicit StoredProperties(const SIZEL& extent) : extent_(extent) {}

  // Takes from the stream exactly what write() put there. ComError for a stream that fails, ends
  // early or holds something else.
  static StoredProperties read(IStream& stream);
  void write(IStream& stream) const;
  [[nodiscard]] std::string encoded() const;

  [[nodiscard]] const SIZEL& extent() const noexcept { return extent_; }

  Value ReadProperty(const std::string& name, const Value& fallback) override;
  void WriteProperty(const std::string& name, const Value& value, const Value& fallback) override;

  StoredProperties(StoredProperties&& other) noexcept
      : extent_(other.extent_), values_(std::move(other.values_)) {}

 private:
  SIZEL extent_;
  std::map<std::string, Value> values_;
};

}  // namespace plexum::activex
