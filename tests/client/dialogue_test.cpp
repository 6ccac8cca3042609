// The client against a PLC that a test plays itself: what no simulated PLC does, whole dialogues,
// byte for byte where it matters, by a hand-driven clock.

#include <gtest/gtest.h>

#include <functional>

#include "client/s7_client.h"
#include "client/wire/framer.h"
#include "client/wire/message.h"
#include "client/wire/telegram.h"
#include "support/fake_environment.h"
#include "support/hex.h"
#include "support/scripted_tcp_client.h"

namespace plexum::client {
namespace {

using namespace std::string_literals;
using wire::Answer;
using wire::Job;
using wire::Message;

std::string telegram(const std::string& message) {
  std::string bytes;
  wire::append_telegrams(message, 1024, bytes);
  return bytes;
}

// Plays the PLC on the message level: it gets every message of the client and sends what it likes.
class Dialogue : public testing::Test {
 protected:
  test::FakeEnvironment environment;
  test::ScriptedTcpClient tcp;
  S7Client client{environment, tcp};
  wire::SetUp grant{8, 8, 480};
  std::uint8_t tpdu_size = 10;
  std::vector<Message> got;
  std::vector<std::string> sends;  // bytes that came at once, from the set-up on
  std::function<void(const Message&)> on_message;

  Dialogue() {
    client.options().time_out = std::chrono::milliseconds(1000);
    tcp.on_send = [this](const std::string& bytes) { receive(bytes); };
  }

  void send(const Message& message) { tcp.available += telegram(wire::build(message)); }
  void answer(const Message& to, Answer content) { send({to.reference, std::move(content)}); }

  void connect() { client.connect({.host = "192.0.2.1"}); }

  void receive(const std::string& bytes) {
    wire::Framer framer(65535);
    framer.feed(bytes);
    bool counted = false;
    while (const auto next = framer.next()) {
      if (std::holds_alternative<wire::Unit>(*next)) {
        wire::ConnectionConfirm confirm;
        confirm.tpdu_size = tpdu_size;
        tcp.available += wire::build(wire::Unit(confirm));
        continue;
      }
      const Message message = *wire::parse(std::get<std::string_view>(*next));
      const auto* job = std::get_if<Job>(&message.body);
      if (job != nullptr && std::holds_alternative<wire::SetUp>(*job)) {
        answer(message, grant);
        continue;
      }
      if (!counted) sends.push_back(bytes);
      counted = true;
      got.push_back(message);
      if (on_message) on_message(message);
    }
  }

  // What a read job asks for, all bytes of item i being i.
  static wire::ReadAnswer filled(const Message& message) {
    wire::ReadAnswer answer;
    for (const wire::ItemAddress& item :
         std::get<wire::ReadJob>(std::get<Job>(message.body)).items) {
      answer.items.push_back({ReturnCode::kSuccess, wire::DataType::kBytes,
                              std::string(item.count, static_cast<char>(item.address / 8 / 600))});
    }
    return answer;
  }

  template <typename Job>
  static std::string outcome_of(Job job) {
    try {
      job();
    } catch (const Error& error) {
      return error.what();
    }
    return "done";
  }
};

TEST_F(Dialogue, SendsAsMuchAtOnceAsThePlcTakesAndSortsTheAnswers) {
  connect();
  std::vector<Item> items;
  for (std::uint32_t i = 0; i < 100; ++i) items.push_back({.start = 600 * i, .count = 4});
  // Answers what has come in the wrong order, one slice later.
  environment.on_wait = [this](std::uint32_t ms) {
    for (; !got.empty(); got.pop_back()) answer(got.back(), filled(got.back()));
    return ms;
  };
  const std::vector<ReadOutcome> read = client.read(items);
  for (std::size_t i = 0; i < items.size(); ++i) {
    EXPECT_EQ(read[i].data, std::string(4, static_cast<char>(i)));
  }
  EXPECT_EQ(sends.size(), 1u) << "five telegrams in one send";

  grant.calling_jobs = 2;
  sends.clear();
  connect();
  client.read(items);
  EXPECT_EQ(sends.size(), 3u) << "two, two and one";
}

TEST_F(Dialogue, TakesNoMoreThanItAskedFor) {
  grant = {500, 500, 8192};
  connect();
  EXPECT_EQ(client.granted().pdu, 960u);
  EXPECT_EQ(client.granted().calling_jobs, 8u);
  grant = {0, 0, 240};
  connect();
  EXPECT_EQ(client.granted().calling_jobs, 1u);
  grant.pdu = 10;
  EXPECT_EQ(outcome_of([&] { connect(); }), "SenselessAnswer: a PDU too small for any job");
  EXPECT_EQ(tcp.state, kTcpClosed);
}

TEST_F(Dialogue, CutsMessagesToTheTransportUnitsOfThePlc) {
  tpdu_size = 7;  // 128 bytes
  connect();
  on_message = [this](const Message& message) {
    answer(message, wire::WriteAnswer{{ReturnCode::kSuccess}});
  };
  EXPECT_TRUE(client.write({{.count = 300}, std::string(300, 'x')}).ok());
  ASSERT_EQ(sends.size(), 1u);
  EXPECT_EQ(test::hex(sends[0].substr(0, 7)), "03 00 00 84 02 F0 00");
  EXPECT_EQ(std::get<wire::WriteJob>(std::get<Job>(got[0].body)).values[0].bytes.size(), 300u);
}

// Late and second answers, the PLC's own messages and jobs.
TEST_F(Dialogue, PassesOverWhatAnswersNothing) {
  connect();
  on_message = [this](const Message& message) {
    answer({static_cast<std::uint16_t>(message.reference + 100), {}}, filled(message));
    wire::Userdata told = wire::user_request({4, 3}, "stopped");
    told.kind = wire::Userdata::Kind::kIndication;
    send({0, told});
    send({message.reference, told});  // its own reference, as chance has it
    tcp.available += telegram(test::bytes("32 07 00 00 00 00 00 08 00 00 00 01 00 00 10 10 00 00"));
    send({message.reference, Job(wire::DownloadBlock{})});
    answer(message, filled(message));
    answer(message, filled(message));
  };
  EXPECT_TRUE(client.read({.count = 4}).ok());
  EXPECT_TRUE(client.read({.count = 4}).ok());
  EXPECT_EQ(client.strays().answers, 4u);
  EXPECT_EQ(client.strays().messages, 6u);
  EXPECT_EQ(client.strays().jobs, 2u);
}

TEST_F(Dialogue, WaitsSinceTheLastProgressAndNotForChatter) {
  connect();
  // The answer comes byte by byte, each after most of the time-out.
  std::string left;
  on_message = [&](const Message& message) {
    left = telegram(wire::build({message.reference, Answer(filled(message))}));
  };
  int slices = 0;
  environment.on_wait = [&](std::uint32_t ms) {
    if (++slices % 15 == 0 && !left.empty()) {
      tcp.available += left.front();
      left.erase(0, 1);
    }
    return ms;
  };
  EXPECT_TRUE(client.read({.count = 4}).ok());

  // Nothing but messages of the PLC's own, without end.
  on_message = nullptr;
  environment.on_wait = [this, last = environment.waits + 1000](std::uint32_t) {
    if (environment.waits > last) {
      tcp.state = kTcpError;
      return 10u;
    }
    send({0, wire::user_request({4, 3}, std::string(100, 'x'))});
    return 10u;
  };
  const std::uint32_t start = environment.now;
  const std::string outcome = outcome_of([&] { client.read({.count = 4}); });
  EXPECT_TRUE(outcome.starts_with("NoAnswer")) << outcome;
  EXPECT_LT(environment.now - start, 2000u);

  // Nothing at all.
  environment.on_wait = [](std::uint32_t ms) { return ms; };
  connect();
  EXPECT_EQ(outcome_of([&] { client.read({.count = 4}); }), "NoAnswer for 1000 ms");
}

TEST_F(Dialogue, NamesAnswersThatMakeNoSense) {
  struct Row {
    const char* what;
    std::function<Answer(const Message&)> answer;
  };
  const Row rows[] = {
      {"an answer of another function than its job",
       [](const Message&) { return wire::WriteAnswer{{ReturnCode::kSuccess}}; }},
      {"an answer with another number of items than its job",
       [](const Message&) { return wire::ReadAnswer{}; }},
      {"an item of another length than its job asks for",
       [](const Message& message) {
         wire::ReadAnswer answer = filled(message);
         answer.items[0].bytes += "more";
         return answer;
       }},
  };
  for (const Row& row : rows) {
    connect();
    on_message = [&](const Message& message) { answer(message, row.answer(message)); };
    EXPECT_EQ(outcome_of([&] { client.read({.count = 4}); }), "SenselessAnswer: "s + row.what);
    EXPECT_FALSE(client.connected());
  }
}

TEST_F(Dialogue, EndsListsThatDoNot) {
  const auto part = [](const Message& to, std::string content, bool more) {
    wire::Userdata answer = std::get<wire::Userdata>(to.body);
    answer.kind = wire::Userdata::Kind::kAnswer;
    answer.progress = wire::Userdata::Progress{1, more, {}};
    answer.code = ReturnCode::kSuccess;
    answer.content = std::move(content);
    return Message{to.reference, std::move(answer)};
  };
  connect();
  on_message = [&](const Message& message) { send(part(message, std::string(400, 'x'), true)); };
  EXPECT_EQ(outcome_of([&] { client.block_list(BlockType::kDb); }),
            "SenselessAnswer: a list longer than it can be");
  connect();
  on_message = [&](const Message& message) { send(part(message, "", true)); };
  EXPECT_EQ(outcome_of([&] { client.state_list(0); }),
            "SenselessAnswer: a part without data that isn't the last");
  connect();
  on_message = [&](const Message& message) { send(part(message, "\x01\x11\0\0\0\x02"s, false)); };
  EXPECT_EQ(outcome_of([&] { client.state_list(0x0111); }),
            "SenselessAnswer: a state list without its head");
}

TEST_F(Dialogue, EndsUploadsThatDoNot) {
  const auto play = [this](std::uint32_t announced, std::size_t part, bool more) {
    connect();
    on_message = [=, this](const Message& message) {
      const Job& job = std::get<Job>(message.body);
      if (std::holds_alternative<wire::StartUpload>(job)) {
        answer(message, wire::UploadStarted{7, announced});
      } else if (std::holds_alternative<wire::Upload>(job)) {
        answer(message, wire::ImagePart{wire::Function::kUpload, more, std::string(part, 'x')});
      } else {
        answer(message, wire::Done{wire::function_of(job)});
      }
    };
    return outcome_of([&] { client.upload({BlockType::kFc, 1}); });
  };
  EXPECT_EQ(play(300, 300, false), "done");
  EXPECT_EQ(play(300, 200, true), "SenselessAnswer: an upload longer than announced");
  EXPECT_EQ(play(300, 200, false), "SenselessAnswer: an upload shorter than announced");
  EXPECT_EQ(play(300, 0, true), "SenselessAnswer: a part without data that isn't the last");
  EXPECT_EQ(play(9'999'999, 200, true), "SenselessAnswer: an upload longer than a block can be");
}

// The PLC asks for the parts, and ends the download with an error.
TEST_F(Dialogue, ServesADownloadAndTellsHowThePlcEndsIt) {
  const BlockId block{BlockType::kFc, 7};
  const wire::BlockName name{block, wire::FileSystem::kPassive};
  const std::string image(1000, 'c');
  std::string received;
  wire::ErrorCode end;
  std::size_t most = image.size();
  on_message = [&](const Message& message) {
    if (const auto* job = std::get_if<Job>(&message.body)) {
      answer(message, wire::Done{wire::function_of(*job)});
      send({300, Job(wire::DownloadBlock{name})});
    } else if (const auto* part = std::get_if<wire::ImagePart>(&std::get<Answer>(message.body))) {
      EXPECT_EQ(message.reference, 300 + received.size() / 462);
      received += part->bytes;
      EXPECT_EQ(part->more, received.size() < image.size());
      const auto next = static_cast<std::uint16_t>(300 + received.size() / 462);
      const bool ends = received.size() >= most;
      send({next, ends ? Job(wire::DownloadEnded{name, end}) : Job(wire::DownloadBlock{name})});
    }
  };
  connect();
  EXPECT_EQ(outcome_of([&] { client.download(block, image, 900); }), "done");
  EXPECT_EQ(received, image);

  received.clear();
  end = {0xD2, 0x19};
  EXPECT_EQ(outcome_of([&] { client.download(block, image, 900); }), "Refused D219");
  EXPECT_TRUE(client.connected());

  received.clear();
  end = {};
  most = 462;
  EXPECT_EQ(outcome_of([&] { client.download(block, image, 900); }),
            "SenselessAnswer: the PLC ends a download before it has all of it");

  received.clear();
  most = 5000;
  connect();
  EXPECT_EQ(outcome_of([&] { client.download(block, image, 900); }),
            "SenselessAnswer: the PLC asks for a part that there isn't");
}

}  // namespace
}  // namespace plexum::client
