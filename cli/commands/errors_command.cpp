#include <algorithm>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/text/error_words.h"

namespace plexum::cli {
namespace {

struct ErrorsOptions {
  std::vector<std::int32_t> numbers;
  bool json = false;
};

// One meaning of a value of err: the same number may have several.
struct Meaning {
  std::int32_t err;
  const char* after;  // after which jobs
  ErrorWords words;
};

std::vector<Meaning> all_meanings() {
  std::vector<Meaning> all{
      {0, "any job", {"done", ""}},
      {1, "connecting", err_words(ControlJob::kConnect, 1)},
      {1, "a state list or erase", err_words(ControlJob::kQuery, 1)},
      {3, "connecting", err_words(ControlJob::kConnect, 3)},
      {3, "reading", err_words(ControlJob::kRead, 3)},
      {3, "other jobs", err_words(ControlJob::kOther, 3)},
      {4, "any job", err_words(ControlJob::kOther, 4)},
  };
  for (const KnownError& error : return_codes()) {
    all.push_back({error.err(), "writing", err_words(ControlJob::kWrite, error.err())});
  }
  for (const KnownError& error : header_errors()) {
    all.push_back({error.err(), "any job", err_words(ControlJob::kOther, error.err())});
  }
  std::stable_sort(all.begin(), all.end(),
                   [](const Meaning& one, const Meaning& other) { return one.err < other.err; });
  return all;
}

void show(const ErrorsOptions& options) {
  std::vector<Meaning> meanings = all_meanings();
  if (!options.numbers.empty()) {
    std::vector<Meaning> chosen;
    for (const std::int32_t number : options.numbers) {
      const std::size_t before = chosen.size();
      std::copy_if(meanings.begin(), meanings.end(), std::back_inserter(chosen),
                   [&](const Meaning& meaning) { return meaning.err == number; });
      if (chosen.size() == before) {
        chosen.push_back({number, "any job", err_words(ControlJob::kOther, number)});
      }
    }
    meanings = std::move(chosen);
  }
  if (options.json) {
    auto found = nlohmann::ordered_json::array();
    for (const Meaning& meaning : meanings) {
      found.push_back({{"err", meaning.err},
                       {"after", meaning.after},
                       {"meaning", meaning.words.meaning},
                       {"advice", meaning.words.advice}});
    }
    std::cout << found.dump(2) << '\n';
    return;
  }
  for (const Meaning& meaning : meanings) {
    std::cout << meaning.err << "  after " << meaning.after << ": " << meaning.words.meaning
              << '\n';
    if (!meaning.words.advice.empty()) std::cout << "      " << meaning.words.advice << '\n';
  }
}

}  // namespace

void add_errors_command(CLI::App& program) {
  const auto options = std::make_shared<ErrorsOptions>();
  CLI::App& command = *program.add_subcommand("errors", "Says what the values of err mean");
  command.footer(
      "Examples:\n"
      "  plexum errors\n"
      "  plexum errors 2109 5\n"
      "  plexum errors --json");
  command.add_option("number", options->numbers, "Values of err; all that are known without any")
      ->check(CLI::Range(0, 255255));
  command.add_flag("--json", options->json, "As JSON");
  command.callback([options] { show(*options); });
}

}  // namespace plexum::cli
