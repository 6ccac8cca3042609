#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "client/wire/block_services.h"
#include "client/wire/bytes.h"
#include "client/wire/codes.h"
#include "client/wire/parsed.h"

// Userdata (message type 7): state lists, block lists, the clock, passwords, programmer functions.
namespace plexum::wire {

// Function group and subfunction.
struct UserFunction {
  std::uint8_t group = 0;  // four bits
  std::uint8_t subfunction = 0;

  bool operator==(const UserFunction&) const = default;
};

inline constexpr UserFunction kErase{1, 0x0C};
inline constexpr UserFunction kCountBlocks{3, 1};
inline constexpr UserFunction kListBlocks{3, 2};
inline constexpr UserFunction kBlockInformation{3, 3};
inline constexpr UserFunction kReadStateList{4, 1};
inline constexpr UserFunction kStartSession{5, 1};
inline constexpr UserFunction kEndSession{5, 2};
inline constexpr UserFunction kReadClock{7, 1};
inline constexpr UserFunction kSetClock{7, 2};

struct Userdata {
  enum class Kind : std::uint8_t { kIndication = 0, kRequest = 4, kAnswer = 8 };

  // What answers carry besides, and requests for the further parts of one.
  struct Progress {
    std::uint8_t unit = 0;  // data unit reference: the same in all parts of an answer
    bool more = false;      // other parts follow
    ErrorCode error;

    bool operator==(const Progress&) const = default;
  };

  Kind kind = Kind::kRequest;
  UserFunction function;
  std::uint8_t sequence = 0;
  std::optional<Progress> progress;
  ReturnCode code = ReturnCode::kSuccess;  // of the data
  DataType type = DataType::kOctets;
  std::string content;

  bool operator==(const Userdata&) const = default;
};

// Requests. A request without content says so: 0A 00 00 00.
Userdata user_request(UserFunction function, std::string content = {});
// The next part of an answer.
Userdata next_part_of(const Userdata& answer);

// The contents of requests.
Userdata read_state_list(std::uint16_t id, std::uint16_t index);
Userdata list_blocks(BlockType type);
Userdata block_information(const BlockId& block);
Userdata erase();
// Up to eight characters; they are sent in disguise, which is no encryption.
Userdata start_session(std::string_view password);

// What a message needs beside its content: header, parameter of an answer, head of the data.
inline constexpr std::size_t kUserdataOverhead = kJobHeader + 12 + 4;

void build(const Userdata& message, Writer& parameter, Writer& data);
Parsed<Userdata> parse_userdata(Reader parameter, Reader data);

}  // namespace plexum::wire
