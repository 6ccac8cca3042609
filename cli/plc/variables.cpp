#include "cli/plc/variables.h"

#include <algorithm>

namespace plexum::cli {
namespace {

using client::Item;
using client::ReadOutcome;
using client::Stretch;
using client::WriteItem;
using client::WriteOutcome;

template <typename Outcome>
ErrorWords refusal_words(const Outcome& outcome) {
  return outcome.error ? words_of(outcome.error) : words_of(outcome.code);
}

std::vector<ReadOutcome> read_items(PlcConnection& plc, const std::string& what,
                                    const std::vector<Item>& items) {
  return plc.run(what, [&](S7Client& client) { return client.read(items); });
}

bool is_open_string(const PlcAddress& address) {
  return address.type == PlcType::kString && address.max_length == 0;
}

std::string what_is_read(const std::vector<PlcAddress>& addresses) {
  return addresses.size() == 1 ? "reading " + addresses.front().text
                               : "reading " + std::to_string(addresses.size()) + " variables";
}

// The item with the characters of a STRING whose two lengths were read; nothing where it has none,
// or where its present length is above the maximum: values_of() complains about that.
std::optional<Item> characters_of(const PlcAddress& address, const ReadResult& lengths) {
  if (!is_open_string(address) || lengths.refusal) return std::nullopt;
  const auto maximum = static_cast<unsigned char>(lengths.bytes[0]);
  const auto present = static_cast<unsigned char>(lengths.bytes[1]);
  Item item = address.item;
  item.start += kStringHeader;
  item.count = present;
  if (present > maximum || !item.is_valid()) return std::nullopt;
  return item;
}

// Where the string of that index in an array begins.
std::uint32_t start_of_string(const PlcAddress& address, std::size_t index) {
  return address.item.start +
         static_cast<std::uint32_t>(index) * (kStringHeader + address.max_length);
}

std::vector<WriteItem> items_of(const Assignment& assignment) {
  const PlcAddress& address = assignment.address;
  std::vector<WriteItem> items;
  if (address.type == PlcType::kBool) {
    for (std::size_t i = 0; i < assignment.values.size(); ++i) {
      const auto bit = address.bit + static_cast<unsigned>(i);
      Item item = address.item;
      item.type = client::ElementType::kBit;
      item.start += bit / 8;
      item.bit = static_cast<std::uint8_t>(bit % 8);
      item.count = 1;
      items.push_back({item, std::string(1, std::get<bool>(assignment.values[i]) ? '\1' : '\0')});
    }
  } else if (address.type == PlcType::kString) {
    for (std::size_t i = 0; i < assignment.values.size(); ++i) {
      Item item = address.item;
      std::string bytes = bytes_of(address.type, assignment.values[i]);
      item.start = start_of_string(address, i) + 1;  // behind the maximum length
      item.count = static_cast<std::uint32_t>(bytes.size());
      items.push_back({item, std::move(bytes)});
    }
  } else {
    std::string bytes;
    for (const PlcValue& value : assignment.values) bytes += bytes_of(address.type, value);
    items.push_back({address.item, std::move(bytes)});
  }
  return items;
}

std::string text_of_stretches(const std::vector<Stretch>& stretches) {
  std::string text;
  for (const Stretch& stretch : stretches) {
    text += (text.empty() ? "" : ", ") + std::to_string(stretch.offset) + " to " +
            std::to_string(stretch.offset + stretch.size - 1);
  }
  return text;
}

// What a write that failed has done anyway: "; written: bytes 0 to 449 of 1000". Nothing where it
// has done nothing.
std::string done_anyway(const std::vector<WriteItem>& items,
                        const std::vector<WriteOutcome>& outcomes) {
  std::string text;
  if (items.size() == 1) {
    const std::string of = " of " + std::to_string(items.front().data.size());
    const WriteOutcome& outcome = outcomes.front();
    if (!outcome.written.empty()) {
      text += "; written: bytes " + text_of_stretches(outcome.written) + of;
    }
    if (!outcome.in_doubt.empty()) {
      text += "; perhaps written: bytes " + text_of_stretches(outcome.in_doubt) + of;
    }
    return text;
  }
  const auto count = [&](auto has) { return std::count_if(outcomes.begin(), outcomes.end(), has); };
  const auto written = count([](const WriteOutcome& one) { return !one.written.empty(); });
  const auto in_doubt = count([](const WriteOutcome& one) { return !one.in_doubt.empty(); });
  const std::string of = " of " + std::to_string(items.size()) + " elements";
  if (written > 0) text += "; written: " + std::to_string(written) + of;
  if (in_doubt > 0) text += "; perhaps written: " + std::to_string(in_doubt) + of;
  return text;
}

}  // namespace

std::vector<ReadResult> read_variables(PlcConnection& plc,
                                       const std::vector<PlcAddress>& addresses) {
  const std::string what = what_is_read(addresses);
  std::vector<Item> items;
  for (const PlcAddress& address : addresses) items.push_back(address.item);
  std::vector<ReadOutcome> outcomes = read_items(plc, what, items);
  std::vector<ReadResult> results;
  std::vector<std::size_t> strings;  // places of those whose characters are still to be read
  items.clear();
  for (std::size_t i = 0; i < addresses.size(); ++i) {
    ReadResult result{std::move(outcomes[i].data), std::nullopt};
    if (!outcomes[i].ok()) result.refusal = refusal_words(outcomes[i]);
    if (const std::optional<Item> characters = characters_of(addresses[i], result)) {
      strings.push_back(i);
      items.push_back(*characters);
    }
    results.push_back(std::move(result));
  }
  if (strings.empty()) return results;
  outcomes = read_items(plc, what, items);
  for (std::size_t i = 0; i < strings.size(); ++i) {
    ReadResult& result = results[strings[i]];
    result.bytes += outcomes[i].data;
    if (!outcomes[i].ok()) result.refusal = refusal_words(outcomes[i]);
  }
  return results;
}

Failure read_failure(const PlcAddress& address, const ErrorWords& words) {
  return Failure(line_of("reading " + address.text, words), ExitCode::kFailed,
                 Failure::Origin::kPlcRefused);
}

void check_strings(PlcConnection& plc, const Assignment& assignment) {
  const PlcAddress& address = assignment.address;
  std::vector<Item> maxima;
  for (std::size_t i = 0; i < assignment.values.size(); ++i) {
    Item item = address.item;
    item.start = start_of_string(address, i);
    item.count = 1;
    maxima.push_back(item);
  }
  const std::string what = "reading " + address.text;
  const std::vector<ReadOutcome> outcomes = read_items(plc, what, maxima);
  for (std::size_t i = 0; i < outcomes.size(); ++i) {
    if (!outcomes[i].ok()) throw Failure(line_of(what, refusal_words(outcomes[i])));
    const std::size_t room = static_cast<unsigned char>(outcomes[i].data[0]);
    const std::size_t length = std::get<std::string>(assignment.values[i]).size();
    if (length <= room) continue;
    throw usage_error(address.text + ": a text of " + std::to_string(length) +
                      " doesn't fit the PLC's STRING[" + std::to_string(room) + "]");
  }
}

void write_values(PlcConnection& plc, const Assignment& assignment) {
  const std::string what = "writing " + assignment.address.text;
  const std::vector<WriteItem> items = items_of(assignment);
  const std::vector<WriteOutcome> outcomes = plc.run(what, [&](S7Client& client) {
    try {
      return client.write(items);
    } catch (const client::InterruptedWrite& error) {
      throw Failure(line_of(what, words_of(error.failure())) +
                    done_anyway(items, error.outcomes()));
    }
  });
  const auto refused = std::find_if(outcomes.begin(), outcomes.end(),
                                    [](const WriteOutcome& outcome) { return !outcome.ok(); });
  if (refused == outcomes.end()) return;
  throw Failure(line_of(what, refusal_words(*refused)) + done_anyway(items, outcomes),
                ExitCode::kFailed, Failure::Origin::kPlcRefused);
}

void verify_values(PlcConnection& plc, const Assignment& assignment) {
  const PlcAddress& address = assignment.address;
  const ReadResult result = read_variables(plc, {address}).front();
  if (result.refusal) throw read_failure(address, *result.refusal);
  const std::string found = text_of_all(address, values_of(address, result.bytes));
  if (found == text_of_all(address, assignment.values)) return;
  throw Failure("verifying " + address.text + ": the PLC holds " + found +
                " now; its program may write it, too");
}

}  // namespace plexum::cli
