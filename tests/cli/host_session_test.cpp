#include "cli/host/host_session.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "cli/link/local_link.h"
#include "sim/simulated_plc.h"

namespace plexum::cli {
namespace {

using nlohmann::json;

// A reply without its state and its message boxes.
std::string essence(const std::string& reply) {
  json parsed = json::parse(reply);
  parsed.erase("state");
  parsed.erase("message_boxes");
  return parsed.dump();
}

TEST(HostSession, RepliesToEachKindOfRequest) {
  struct Case {
    const char *request, *reply;  // keys of the reply in alphabetical order
  };
  const Case cases[] = {
      {R"({"call":"wordtobeyt","args":["65535"]})",
       R"({"args":["65535"],"result":"ÿÿ","type":"String"})"},
      {R"({"call":"dwordtobeyt","args":["65536"]})",
       R"({"args":["0"],"result":"\u0000\u0001\u0000\u0000","type":"String"})"},
      {R"({"call":"beyttoword","args":["ÿ","\u0000"]})",
       R"({"args":["65280","-256"],"result":"-256","type":"String"})"},
      {R"({"call":"xor_str","args":["é\u0001"]})",
       R"({"args":["é\u0001"],"result":232,"type":"Long"})"},
      {R"({"call":"ag_exit"})", R"({"args":[],"result":true,"type":"Boolean"})"},
      {R"({"call":"MsgWait","args":[0]})", R"({"args":[0],"result":null,"type":"Empty"})"},
      {R"({"call":"MsgWait","args":[1e10]})",
       R"({"args":[10000000000.0],"error":{"number":6,"text":"Overflow"}})"},
      {R"({"call":"wordtobeyt","args":["-1"]})",
       R"({"args":["-1"],"error":{"number":5,"text":"Invalid procedure call or argument"}})"},
      {R"({"set":"CP_IP","value":"plätze€"})", R"({"args":[],"result":null,"type":"Empty"})"},
      {R"({"get":"CP_IP"})", R"({"args":[],"result":"plätze€","type":"String"})"},
      {R"({"set":"Tzeit","value":2.5})", R"({"args":[],"result":null,"type":"Empty"})"},
      {R"({"get":"Tzeit"})", R"({"args":[],"result":2,"type":"Long"})"},
      {R"({"get":"inuse"})", R"({"args":[],"result":false,"type":"Boolean"})"},
      {R"({"get":"auftrag_Fehler"})", R"({"args":[],"result":0,"type":"Integer"})"},
      {R"({"set":"auftrag_Fehler","value":32768})",
       R"({"args":[],"error":{"number":6,"text":"Overflow"}})"},
  };
  LocalLink local;
  HostSession session(local.link, local.environment);
  for (const Case& c : cases) {
    EXPECT_EQ(essence(session.reply_to(c.request)), c.reply) << c.request;
  }
}

TEST(HostSession, MessageBoxesBelongToTheirCall) {
  LocalLink local;
  HostSession session(local.link, local.environment);
  const json large = json::parse(session.reply_to(R"({"call":"flottobeyt","args":["7E38"]})"));
  EXPECT_EQ(large.at("message_boxes").dump(), R"(["Zahl ist größer als 8 Bit"])");
  EXPECT_EQ(large.at("type"), "String");
  const json small = json::parse(session.reply_to(R"({"call":"flottobeyt","args":["7"]})"));
  EXPECT_TRUE(small.at("message_boxes").empty());
}

TEST(HostSession, ALineThatIsNoRequestIsErrorZeroAndTheRunGoesOn) {
  LocalLink local;
  HostSession session(local.link, local.environment);
  const std::string deep(100000, '[');
  for (const std::string& line :
       {std::string(), std::string("x"), std::string("[]"), std::string("{}"),
        std::string(R"({"call":"nothing"})"), std::string(R"({"call":7})"),
        std::string(R"({"call":"ag_exit","args":{}})"),
        std::string(R"({"call":"ag_exit","args":["one"]})"),
        std::string(R"({"call":"wordtobeyt","args":[1]})"),
        std::string(R"({"call":"wordtobeyt","args":["€"]})"),
        std::string(R"({"call":"MsgWait","args":["1"]})"), std::string(R"({"get":"StateLabel"})"),
        std::string(R"({"set":"err"})"), std::string(R"({"set":"err","value":"1"})"),
        std::string(R"({"set":"inuse","value":1})"), std::string("{\"call\":\"\xFF\"}"), deep}) {
    const json reply = json::parse(session.reply_to(line));
    EXPECT_EQ(reply.at("error").at("number"), 0) << line.substr(0, 60);
    EXPECT_FALSE(reply.at("error").at("text").get<std::string>().empty());
    EXPECT_EQ(reply.size(), 1u);
  }
  EXPECT_EQ(json::parse(session.reply_to(R"({"get":"err"})")).at("result"), 0);
}

TEST(HostSession, ResultsKeepTheirTypes) {
  sim::Options options;
  options.port = 0;
  const sim::SimulatedPlc plc(options);
  LocalLink local;
  HostSession session(local.link, local.environment);
  session.reply_to(R"({"set":"Tzeit","value":2000})");
  const json connect = {{"call", "ag_ini"},
                        {"args", {"127.0.0.1", std::to_string(plc.port()), "1.0", "3.2"}}};
  const json connected = json::parse(session.reply_to(connect.dump()));
  EXPECT_EQ(connected.at("result"), true);
  EXPECT_EQ(connected.at("state").dump(),
            R"({"auftrag_Fehler":0,"err":0,"inuse":false,"s7init":true,)"
            R"("status_text":"Send/Receive Ready"})");
  struct Case {
    const char *request, *result;
  };
  const Case cases[] = {
      {R"({"call":"ag_Read","args":["1","8","28","F","D"]})",
       R"x({"elements":[3.140000104904175,-2.0],"lower":1} "Double()")x"},
      {R"({"call":"ag_ReadB","args":["1","2","16","B","D"]})",
       R"x({"elements":[18,52],"lower":1,"types":["Integer","Integer"]} "Variant()")x"},
      {R"({"call":"ag_ReadB","args":["1","1","36","X","D"]})",
       R"x({"elements":["10100101"],"lower":1,"types":["String"]} "Variant()")x"},
      {R"({"call":"ag_ReadB","args":["1","5","40","C","D"]})", R"("Hello" "String")"},
  };
  for (const Case& c : cases) {
    const json reply = json::parse(session.reply_to(c.request));
    EXPECT_EQ(reply.at("result").dump() + " " + reply.at("type").dump(), c.result) << c.request;
  }
}

}  // namespace
}  // namespace plexum::cli
