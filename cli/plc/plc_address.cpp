#include "cli/plc/plc_address.h"

#include <algorithm>
#include <optional>
#include <regex>

#include "cli/text/failure.h"

namespace plexum::cli {
namespace {

struct TypeName {
  PlcType type;
  const char* name;
  char size;  // the letter of its size in an address; 0 for the types of timers and counters
};

// An address without a type has the first type in this table that has its letter.
constexpr TypeName kTypes[] = {
    {PlcType::kBool, "BOOL", 'X'},     {PlcType::kByte, "BYTE", 'B'},
    {PlcType::kChar, "CHAR", 'B'},     {PlcType::kString, "STRING", 'B'},
    {PlcType::kWord, "WORD", 'W'},     {PlcType::kInt, "INT", 'W'},
    {PlcType::kDword, "DWORD", 'D'},   {PlcType::kDint, "DINT", 'D'},
    {PlcType::kReal, "REAL", 'D'},     {PlcType::kS5Time, "S5TIME", 0},
    {PlcType::kCounter, "COUNTER", 0},
};

struct Area {
  const char* name;
  client::Area area;
  bool output = false, readable = true, writable = true;
};

constexpr Area kAreas[] = {
    {"M", client::Area::kFlags},
    {"I", client::Area::kInputs},
    {"E", client::Area::kInputs},
    {"Q", client::Area::kOutputs, true},
    {"A", client::Area::kOutputs, true},
    {"L", client::Area::kLocalData},
    {"PI", client::Area::kPeripherals, false, true, false},
    {"PE", client::Area::kPeripherals, false, true, false},
    {"PQ", client::Area::kPeripherals, true, false, true},
    {"PA", client::Area::kPeripherals, true, false, true},
    {"T", client::Area::kTimers, false, true, false},
    {"C", client::Area::kCounters, false, true, false},
    {"Z", client::Area::kCounters, false, true, false},
};

constexpr unsigned kMostBytes = 65536;
constexpr unsigned kMostNumbered = 2048;  // timers or counters
constexpr unsigned kLongestString = 254;

// The parts of an address, found by a regular expression.
class AddressParts {
 public:
  explicit AddressParts(const std::string& capitals) {
    static const std::regex kForm(
        "%?(?:D([BI])([0-9]{1,5})\\.D\\1|(P[IEQA]|[MIEQALTCZ]))([XBWD]?)([0-9]{1,7})"
        "(?:\\.([0-9]{1,5}))?(?:\\[([0-9]{1,5})\\])?(?::([A-Z0-9]+)(?:\\[([0-9]{1,5})\\])?)?");
    found_ = std::regex_match(capitals, match_, kForm);
  }

  [[nodiscard]] bool found() const { return found_; }
  [[nodiscard]] bool instance_block() const { return match_[1] == "I"; }
  [[nodiscard]] std::optional<unsigned> block() const { return number(2); }
  [[nodiscard]] std::string area() const { return match_[3]; }
  [[nodiscard]] char size() const { return match_.length(4) > 0 ? *match_[4].first : '\0'; }
  [[nodiscard]] unsigned start() const { return *number(5); }
  [[nodiscard]] std::optional<unsigned> bit() const { return number(6); }
  [[nodiscard]] std::optional<unsigned> count() const { return number(7); }
  [[nodiscard]] std::string type() const { return match_[8]; }
  [[nodiscard]] std::optional<unsigned> type_count() const { return number(9); }
  // What stands before the letter of the size: "DB10.DB", "M".
  [[nodiscard]] std::string place() const {
    const std::string letter = match_[1];
    return letter.empty() ? area() : "D" + letter + match_[2].str() + ".D" + letter;
  }

 private:
  [[nodiscard]] std::optional<unsigned> number(std::size_t part) const {
    if (!match_[part].matched) return std::nullopt;
    return static_cast<unsigned>(std::stoul(match_[part]));
  }

  std::smatch match_;
  bool found_ = false;
};

// Builds an address from its parts; each member checks one of them.
class Builder {
 public:
  Builder(const std::string& capitals, const AddressParts& parts) : parts_(parts) {
    address_.text = capitals;
  }

  PlcAddress build() {
    take_area();
    size_ = letter_of_size();
    take_type();
    take_bit();
    take_count();
    take_range();
    return address_;
  }

 private:
  [[noreturn]] void refuse(const std::string& reason) const {
    throw usage_error(address_.text + ": " + reason);
  }

  [[nodiscard]] std::string at(char size, const std::string& rest) const {
    return parts_.place() + size + std::to_string(parts_.start()) + rest;
  }

  // A bit as an address: in blocks it has the letter X, elsewhere none.
  [[nodiscard]] std::string bit_at(unsigned bit) const {
    return parts_.place() + (parts_.block() ? "X" : "") + std::to_string(parts_.start()) + "." +
           std::to_string(bit);
  }

  [[nodiscard]] bool numbered() const {
    return address_.item.area == client::Area::kTimers ||
           address_.item.area == client::Area::kCounters;
  }

  [[nodiscard]] bool peripheral() const { return address_.item.area == client::Area::kPeripherals; }

  void take_area() {
    client::Item& item = address_.item;
    if (const std::optional<unsigned> block = parts_.block()) {
      if (*block < 1 || *block > 65535) refuse("data blocks have the numbers 1 to 65535");
      item.area = parts_.instance_block() ? client::Area::kInstanceBlock : client::Area::kDataBlock;
      item.block = static_cast<std::uint16_t>(*block);
      return;
    }
    const Area& area = *std::find_if(std::begin(kAreas), std::end(kAreas),
                                     [&](const Area& row) { return parts_.area() == row.name; });
    item.area = area.area;
    address_.output = area.output;
    address_.readable = area.readable;
    address_.writable = area.writable;
  }

  // Bits outside of blocks have no letter: M5.1.
  [[nodiscard]] char letter_of_size() const {
    if (numbered()) {
      if (parts_.size() != 0 || parts_.bit()) {
        refuse("a timer or counter has a number alone; write " + parts_.area() +
               std::to_string(parts_.start()));
      }
      return 0;
    }
    if (parts_.size() != 0) return parts_.size();
    if (parts_.bit() && !parts_.block()) return 'X';
    refuse("its size is missing; write " + at('B', "") + ", " + at('W', "") + " or " + at('D', "") +
           (peripheral() ? "" : ", or " + bit_at(0) + " for a bit"));
  }

  void take_type() {
    const std::string name = parts_.type();
    const TypeName* found =
        std::find_if(std::begin(kTypes), std::end(kTypes), [&](const TypeName& row) {
          return name.empty() ? (numbered() ? own_type() == row.type : row.size == size_)
                              : name == row.name;
        });
    if (found == std::end(kTypes)) {
      std::string names;
      for (const TypeName& type : kTypes) {
        if (type.size != 0) names += std::string(names.empty() ? "" : ", ") + type.name;
      }
      refuse("no such type; there are " + names);
    }
    address_.type = found->type;
    if (numbered() ? found->type == own_type() : found->size == size_) return;
    if (numbered() || found->size == 0) {
      refuse(std::string(found->name) + " is not its type; leave the type out");
    }
    const std::string example = found->size == 'X' ? bit_at(0) : at(found->size, ":" + name);
    refuse("the size doesn't fit " + name + "; write " + example);
  }

  [[nodiscard]] PlcType own_type() const {
    return address_.item.area == client::Area::kTimers ? PlcType::kS5Time : PlcType::kCounter;
  }

  void take_bit() {
    const std::optional<unsigned> bit = parts_.bit();
    if ((size_ == 'X' || bit) && peripheral()) {
      refuse("the periphery has no bits; write " + at('B', ""));
    }
    if (size_ == 'X' && !bit) refuse("its bit is missing; write " + bit_at(0));
    if (size_ != 'X' && bit) refuse("only a bit has a second number; write " + bit_at(*bit % 8));
    if (bit.value_or(0) > 7) refuse("bits are 0 to 7; write " + bit_at(7));
    address_.bit = bit.value_or(0);
  }

  // A number behind the type: of a STRING its room, of other types the count, as in MW20:INT[8].
  void take_count() {
    std::optional<unsigned> count = parts_.count();
    if (const std::optional<unsigned> behind = parts_.type_count()) {
      if (address_.type == PlcType::kString) {
        if (*behind < 1 || *behind > kLongestString) refuse("a STRING has room for 1 to 254");
        address_.max_length = *behind;
      } else if (count) {
        refuse("two counts; write " + at(size_, "[" + std::to_string(*count) + "]"));
      } else {
        count = behind;
      }
    }
    address_.array = count.has_value();
    address_.count = count.value_or(1);
    if (address_.array && address_.type == PlcType::kString && address_.max_length == 0) {
      refuse("strings in an array need their room; write " +
             at('B', "[" + std::to_string(address_.count) + "]:STRING[24]"));
    }
  }

  [[nodiscard]] unsigned bytes_of_all() const {
    switch (size_) {
      case 'X':
        return (address_.bit + address_.count + 7) / 8;
      case 'B':
        return address_.type == PlcType::kString
                   ? address_.count * (kStringHeader + address_.max_length)
                   : address_.count;
      case 'D':
        return 4 * address_.count;
      default:  // words, timers and counters
        return 2 * address_.count;
    }
  }

  void take_range() {
    const unsigned elements = numbered() ? kMostNumbered : kMostBytes;
    const unsigned size = bytes_of_all();
    const unsigned end = parts_.start() + (numbered() ? address_.count : size);
    if (address_.count < 1 || end > elements) {
      refuse("out of range; an area has " + std::to_string(elements) +
             (numbered() ? " timers or counters" : " bytes") + " at most, an array 1 or more");
    }
    client::Item& item = address_.item;
    item.start = parts_.start();
    item.type = element_type();
    item.count = static_cast<std::uint32_t>(size / client::size_of(item.type));
  }

  // Modules of the periphery get accesses of the size that the address has, as they get them from
  // the PLC's own program. Elsewhere bytes are bytes.
  [[nodiscard]] client::ElementType element_type() const {
    using client::ElementType;
    if (address_.item.area == client::Area::kTimers) return ElementType::kTimer;
    if (address_.item.area == client::Area::kCounters) return ElementType::kCounter;
    if (peripheral() && size_ == 'W') return ElementType::kWord;
    if (peripheral() && size_ == 'D') return ElementType::kDWord;
    return ElementType::kByte;
  }

  const AddressParts& parts_;
  char size_ = 0;
  PlcAddress address_;
};

std::string in_capitals(std::string text) {
  for (char& c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return text;
}

}  // namespace

const char* name_of(PlcType type) {
  return std::find_if(std::begin(kTypes), std::end(kTypes),
                      [&](const TypeName& row) { return row.type == type; })
      ->name;
}

PlcAddress parse_address(const std::string& text) {
  const std::string capitals = in_capitals(text);
  const AddressParts parts(capitals);
  if (!parts.found()) {
    throw usage_error("\"" + text +
                      "\" is no address; write one such as DB10.DBW4, DB10.DBX0.3, DB10.DBD8:REAL, "
                      "MW20, M5.1, IB0, T5 or MW20[8]:INT");
  }
  return Builder(capitals, parts).build();
}

void require_readable(const PlcAddress& address) {
  if (address.readable) return;
  throw usage_error(address.text +
                    ": peripheral outputs can only be written; their process image, such as QB0, "
                    "can be read");
}

void require_writable(const PlcAddress& address) {
  if (address.writable) return;
  throw usage_error(address.text +
                    (address.item.area == client::Area::kPeripherals
                         ? ": peripheral inputs can only be read; write the outputs as PQ, such as "
                           "PQB0"
                         : ": timers and counters can only be read; let the PLC's program set them "
                           "from a flag or a data block"));
}

}  // namespace plexum::cli
