#include "activex/stored_properties.h"

#include <cstdint>
#include <cstring>

#include "activex/automation_value.h"
#include "activex/com_error.h"
#include "platform/windows/bstr.h"
#include "platform/windows/code_page.h"

namespace plexum::activex {
namespace {

constexpr std::string_view kMark = "PLXM";
constexpr std::uint32_t kVersion = 1;
// More than any text that names a host; a length above it is no length.
constexpr std::uint32_t kLongest = 1 << 20;

void put(std::string& out, std::uint32_t value, int size = 4) {
  for (int i = 0; i < size; ++i) out.push_back(static_cast<char>(value >> (8 * i) & 0xFF));
}

void put_text(std::string& out, std::string_view text) {
  put(out, static_cast<std::uint32_t>(text.size()));
  out.append(text);
}

// Takes values from the front of some bytes.
class Reader {
 public:
  explicit Reader(std::string_view bytes) : bytes_(bytes) {}

  std::uint32_t number(std::size_t size = 4) {
    std::uint32_t value = 0;
    const std::string_view bytes = take(size);
    for (std::size_t i = size; i-- > 0;) value = value << 8 | static_cast<unsigned char>(bytes[i]);
    return value;
  }

  std::string text() { return std::string(take(number())); }

  std::string_view take(std::size_t size) {
    if (size > bytes_.size()) throw ComError(STG_E_DOCFILECORRUPT);
    const std::string_view taken = bytes_.substr(0, size);
    bytes_.remove_prefix(size);
    return taken;
  }

 private:
  std::string_view bytes_;
};

std::string read_bytes(IStream& stream, std::size_t size) {
  std::string bytes(size, '\0');
  std::size_t got = 0;
  while (got < size) {
    ULONG count = 0;
    check(stream.Read(bytes.data() + got, static_cast<ULONG>(size - got), &count));
    if (count == 0) throw ComError(STG_E_READFAULT);
    got += count;
  }
  return bytes;
}

Value value_of(const VARIANT& variant) {
  if (variant.vt == VT_I4) return static_cast<std::int32_t>(variant.lVal);
  return windows::utf8_from_utf16(windows::view_of(variant.bstrVal));
}

void set(VARIANT& variant, const Value& value) {
  if (const auto* number = std::get_if<std::int32_t>(&value)) {
    variant.vt = VT_I4;
    variant.lVal = *number;
  } else {
    variant.vt = VT_BSTR;
    variant.bstrVal = windows::new_bstr(windows::utf16_from_utf8(std::get<std::string>(value)));
  }
}

// Whether a bag says by its answer that it has no property of the name. E_INVALIDARG is what it
// should say; the others are what bags of Office, of designers and of scripts say.
bool is_absent(HRESULT result, const VARIANT& value) {
  switch (result) {
    case E_INVALIDARG:
    case DISP_E_MEMBERNOTFOUND:
    case DISP_E_UNKNOWNNAME:
    case E_FAIL:
      return true;
    case S_FALSE:  // and the variant as it was given
      return value.vt == VT_EMPTY || (value.vt == VT_BSTR && value.bstrVal == nullptr) ||
             (value.vt == VT_I4 && value.lVal == 0);
    default:
      return value.vt == VT_EMPTY;
  }
}

}  // namespace

Value ContainerPropertyBag::ReadProperty(const std::string& name, const Value& fallback) {
  const VARTYPE type = std::holds_alternative<std::int32_t>(fallback) ? VT_I4 : VT_BSTR;
  OwnedVariant stored;
  stored.get().vt = type;  // what a bag of texts is to convert to
  const HRESULT result = bag_->Read(windows::utf16_from_utf8(name).c_str(), &stored.get(), log_);
  if (is_absent(result, stored.get())) return fallback;
  check(result);
  check(VariantChangeTypeEx(&stored.get(), &stored.get(), LOCALE_USER_DEFAULT, 0, type));
  return value_of(stored.get());
}

void ContainerPropertyBag::WriteProperty(const std::string& name, const Value& value,
                                         const Value& fallback) {
  if (value == fallback) return;
  OwnedVariant stored;
  set(stored.get(), value);
  check(bag_->Write(windows::utf16_from_utf8(name).c_str(), &stored.get()));
}

StoredProperties StoredProperties::read(IStream& stream) {
  const std::string header = read_bytes(stream, kMark.size() + 8);
  Reader fields(header);
  if (fields.take(kMark.size()) != kMark) throw ComError(STG_E_INVALIDHEADER);
  if (fields.number() < kVersion) throw ComError(STG_E_INVALIDHEADER);
  const std::uint32_t length = fields.number();
  if (length > kLongest) throw ComError(STG_E_DOCFILECORRUPT);

  const std::string body = read_bytes(stream, length);
  Reader in(body);
  const auto width = static_cast<LONG>(in.number());
  const auto height = static_cast<LONG>(in.number());
  if (width < 0 || height < 0) throw ComError(STG_E_DOCFILECORRUPT);
  StoredProperties result({width, height});
  const std::uint32_t count = in.number();
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::string name = in.text();
    const std::uint32_t type = in.number(2);
    if (type == VT_I4) {
      result.values_[name] = static_cast<std::int32_t>(in.number());
    } else if (type == VT_BSTR) {
      result.values_[name] = in.text();
    } else {
      throw ComError(STG_E_DOCFILECORRUPT);
    }
  }
  return result;
}

std::string StoredProperties::encoded() const {
  std::string body;
  put(body, static_cast<std::uint32_t>(extent_.cx));
  put(body, static_cast<std::uint32_t>(extent_.cy));
  put(body, static_cast<std::uint32_t>(values_.size()));
  for (const auto& [name, value] : values_) {
    put_text(body, name);
    if (const auto* number = std::get_if<std::int32_t>(&value)) {
      put(body, VT_I4, 2);
      put(body, static_cast<std::uint32_t>(*number));
    } else {
      put(body, VT_BSTR, 2);
      put_text(body, std::get<std::string>(value));
    }
  }
  std::string out(kMark);
  put(out, kVersion);
  put_text(out, body);
  return out;
}

void StoredProperties::write(IStream& stream) const {
  const std::string bytes = encoded();
  ULONG written = 0;
  check(stream.Write(bytes.data(), static_cast<ULONG>(bytes.size()), &written));
  if (written != bytes.size()) throw ComError(STG_E_MEDIUMFULL);
}

Value StoredProperties::ReadProperty(const std::string& name, const Value& fallback) {
  const auto found = values_.find(name);
  return found == values_.end() ? fallback : found->second;
}

void StoredProperties::WriteProperty(const std::string& name, const Value& value,
                                     const Value& fallback) {
  if (value != fallback) values_[name] = value;
}

}  // namespace plexum::activex
