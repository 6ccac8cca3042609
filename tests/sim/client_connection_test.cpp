#include "sim/client_connection.h"

#include <gtest/gtest.h>

#include "tests/sim/scenario.h"

namespace plexum::sim {
namespace {

TEST(ClientConnection, AnswersAsACpuDoesInWhateverPiecesItIsAsked) {
  const std::pair<std::string_view, std::string> dialogue[] = {
      {kConnectionRequest, dump(kConnectionConfirm)},
      {kSetup, dump("03 00 00 1B | 02 F0 80 | 32 03 00 00 FF FF 00 08 00 00 00 00 |"
                    "F0 00 00 03 00 03 00 F0")},
      {kRead, kReadAnswer},
  };
  Plc plc({});
  ClientConnection connection(plc);
  for (const auto& [telegram, answer] : dialogue) {
    const Bytes bytes = hex(telegram);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      const bool last = i + 1 == bytes.size();
      EXPECT_EQ(text(connection.receive(ByteView(bytes).subspan(i, 1))), last ? answer : "") << i;
    }
  }
}

TEST(ClientConnection, GrantsNeverMoreThanAsked) {
  const Exchange exchanges[] = {
      {"less of all", "F0 00 00 01 00 02 00 80", "F0 00 00 01 00 02 00 80"},
      {"more of all", "F0 00 00 08 00 08 03 C0", "F0 00 00 03 00 03 00 F0"},
      {"no PDU at all", "F0 00 00 03 00 03 00 00", "refused 85 00"},
      {"a short job", "F0 00 00 03 00 03 03", "refused 85 00"},
      {"a long job", "F0 00 00 03 00 03 03 C0 00", "refused 85 00"},
  };
  Conversation().expect(exchanges);
  Options options;
  options.pdu = 960;
  options.jobs = 8;
  EXPECT_EQ(Conversation(options).ask("F0 00 00 09 00 08 03 C0"), "F0 00 00 08 00 08 03 C0 | ");
}

// In flight is what came with one receive, and what came before and whose answer isn't due yet.
TEST(ClientConnection, RefusesMoreJobsInFlightThanGranted) {
  using std::chrono::milliseconds;
  Options options;
  options.jobs = 2;
  options.latency = milliseconds(3);
  Conversation conversation(options);
  const ClientConnection::TimePoint start = std::chrono::steady_clock::now() + milliseconds(10);
  const std::string refusal = dump("03 00 00 13 02 F0 80 32 02 00 00 02 00 00 00 00 00 83 02");
  const struct {
    int at;  // ms
    std::size_t jobs;
    std::string answers;
  } steps[] = {
      {0, 1, "~3ms " + kReadAnswer},
      {1, 2, "~3ms " + kReadAnswer + " / ~3ms " + refusal},
      {2, 1, "~3ms " + refusal},
      {3, 1, "~3ms " + kReadAnswer},
      {7, 3, "~3ms " + kReadAnswer + " / ~3ms " + kReadAnswer + " / ~3ms " + refusal},
  };
  for (const auto& [at, jobs, answers] : steps) {
    Bytes bytes;
    for (std::size_t i = 0; i < jobs; ++i) bytes = Writer().bytes(bytes).bytes(hex(kRead)).take();
    EXPECT_EQ(text(conversation.connection.receive(bytes, start + milliseconds(at))), answers)
        << at;
  }
}

// Lengths that promise more than is sent.
TEST(ClientConnection, ServesWhatIsWholeByItsOwnLengths) {
  // A stop job whose TPKT promises 35 bytes and has 33.
  const std::string stop =
      "03 00 00 23 | 02 F0 80 | 32 01 00 00 03 00 00 10 00 00 |"
      "29 00 00 00 00 00 09 'P_PROGRAM'";
  const std::string stopped = dump("03 00 00 14 02 F0 80 32 03 00 00 03 00 00 01 00 00 00 00 29");
  Conversation conversation;
  EXPECT_EQ(conversation.say(stop), stopped) << "not waited for the two that never come";
  EXPECT_EQ(conversation.say(stop + std::string(kRead)), stopped + " / " + kReadAnswer);
  EXPECT_EQ(conversation.say(stop + "00 00"), stopped) << "announced bytes that come are skipped";
  EXPECT_EQ(conversation.say(kRead), kReadAnswer);
}

TEST(ClientConnection, IgnoresEmptyFragmentsAndJoinsOthers) {
  Conversation conversation;
  EXPECT_EQ(conversation.say("03 00 00 07 | 02 F0 00"), "");
  EXPECT_EQ(conversation.say("03 00 00 11 | 02 F0 00 | 32 01 00 00 02 00 00 0E 00 00"), "");
  EXPECT_EQ(conversation.say("03 00 00 15 | 02 F0 80 | 04 01 12 0A 10 02 00 04 00 01 84 00 00 00"),
            kReadAnswer);
}

TEST(ClientConnection, RefusesOrIgnoresWhatItDoesNotKnow) {
  Conversation conversation;
  EXPECT_EQ(conversation.ask("77"), "refused 81 04");
  EXPECT_EQ(conversation.say("03 00 00 14 | 02 F0 80 | 32 03 00 00 00 01 00 01 00 00 00 00 | 1C"),
            "")
      << "an acknowledgement of nothing";
  EXPECT_EQ(conversation.say(kRead), kReadAnswer) << "and goes on";

  ClientConnection without_setup(conversation.plc);
  without_setup.receive(hex(kConnectionRequest));
  EXPECT_EQ(Conversation::content(without_setup.receive(hex(kRead))), "refused 84 01");
}

TEST(ClientConnection, ClosesOnMalformedInput) {
  struct Case {
    const char* name;
    bool connected;  // after the connection request and setup
    const char* bytes;
  };
  const Case cases[] = {
      // clang-format off
      {"no TPKT",                        false, "02"},
      {"TPKT of 4 bytes",                false, "03 00 00 04"},
      {"indicator beyond the TPKT",      false, "03 00 00 07 12 E0 00"},
      {"indicator 0",                    false, "03 00 00 07 00 E0 00"},
      {"unknown transport unit",         false, "03 00 00 07 02 70 80"},
      {"data first",                     false, "03 00 00 12 02 F0 80 32 01 00 00 00 00 00 01 00 00 F0"},
      {"bytes behind the request",       false, "03 00 00 17 11 E0 00 00 00 2E 00 C2 02 03 02 C1 02 01 00 C0 01 09 00"},
      {"destination reference",          false, "03 00 00 16 11 E0 00 01 00 2E 00 C2 02 03 02 C1 02 01 00 C0 01 09"},
      {"class 4",                        false, "03 00 00 16 11 E0 00 00 00 2E 40 C2 02 03 02 C1 02 01 00 C0 01 09"},
      {"no called TSAP",                 false, "03 00 00 12 0D E0 00 00 00 2E 00 C1 02 01 00 C0 01 09"},
      {"empty calling TSAP",             false, "03 00 00 14 0F E0 00 00 00 2E 00 C2 02 03 02 C1 00 C0 01 09"},
      {"parameter beyond the request",   false, "03 00 00 16 11 E0 00 00 00 2E 00 C2 02 03 02 C1 02 01 00 C0 02 09"},
      {"TPDU size 2^6",                  false, "03 00 00 16 11 E0 00 00 00 2E 00 C2 02 03 02 C1 02 01 00 C0 01 06"},
      {"second connection request",      true,  "03 00 00 16 11 E0 00 00 00 2E 00 C2 02 03 02 C1 02 01 00 C0 01 09"},
      {"disconnect request",             true,  "03 00 00 0B 06 80 00 03 00 2E 00"},
      {"data unit's header of 3 bytes",  true,  "03 00 00 08 03 F0 80 00"},
      {"protocol id",                    true,  "03 00 00 12 02 F0 80 72 01 00 00 00 00 00 01 00 00 77"},
      {"message type",                   true,  "03 00 00 12 02 F0 80 32 05 00 00 00 00 00 01 00 00 77"},
      {"no message",                     true,  "03 00 00 07 02 F0 80"},
      {"parameter beyond the TPKT",      true,  "03 00 00 12 02 F0 80 32 01 00 00 00 00 00 02 00 00 04"},
      // clang-format on
  };
  for (const Case& c : cases) {
    Plc plc({});
    ClientConnection connection(plc);
    if (c.connected) {
      connection.receive(hex(kConnectionRequest));
      connection.receive(hex(kSetup));
    }
    EXPECT_EQ(text(connection.receive(hex(c.bytes))), "close") << c.name;
    EXPECT_EQ(text(connection.receive(hex(kConnectionRequest))), "") << c.name << ", afterwards";
  }
}

TEST(ClientConnection, KeepsABoundedAmountOfAMessageThatNeverEnds) {
  Bytes fragment = hex("03 00 40 00 02 F0 00");
  fragment.resize(0x4000);
  Conversation conversation;
  for (int i = 0; i < 4; ++i) EXPECT_EQ(text(conversation.connection.receive(fragment)), "");
  EXPECT_EQ(text(conversation.connection.receive(fragment)), "close");
}

}  // namespace
}  // namespace plexum::sim
