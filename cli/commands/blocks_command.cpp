#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "cli/blocks/backup.h"
#include "cli/blocks/block_jobs.h"
#include "cli/commands/commands.h"
#include "cli/system/file.h"
#include "cli/system/interrupt.h"
#include "cli/system/path.h"
#include "cli/system/terminal.h"

namespace plexum::cli {
namespace {

struct BlocksOptions {
  ConnectionOptions connection;
  bool json = false;
  bool yes = false;
  std::string type;
  std::uint16_t number = 0;
  std::string path;

  [[nodiscard]] BlockName name() const { return {&block_type(type), number}; }
};

void list(const BlocksOptions& options) {
  const BlockType* const type = options.type.empty() ? nullptr : &block_type(options.type);
  PlcConnection plc(options.connection);
  const std::vector<BlockList> lists =
      type == nullptr ? list_all_blocks(plc) : std::vector{list_blocks(plc, *type)};
  if (options.json) {
    nlohmann::ordered_json found = nlohmann::ordered_json::object();
    for (const BlockList& one : lists) {
      found[one.type->name] = {{"numbers", one.numbers}};
    }
    std::cout << found.dump(2) << '\n';
    return;
  }
  for (const BlockList& one : lists) {
    std::cout << one.type->name << " (" << one.numbers.size() << "):";
    for (const std::uint16_t number : one.numbers) std::cout << ' ' << number;
    std::cout << '\n';
  }
}

void upload(const BlocksOptions& options) {
  const BlockName name = options.name();
  PlcConnection plc(options.connection);
  const BlockImage image = upload_block(plc, name);
  write_file(path_from_utf8(options.path), image.bytes);
  std::cout << name.text() << ": " << image.bytes.size() << " bytes, code of " << image.code_date
            << ", in " << options.path << '\n';
}

void download(const BlocksOptions& options) {
  const BlockImage image = parse_block_image(options.path, read_file(path_from_utf8(options.path)));
  PlcConnection plc(options.connection);
  plc.connect();
  ask_before("download " + image.name.text() + " to " + plc.plc_name(), options.yes);
  const std::string outcome = download_block(plc, image);
  std::cout << image.name.text() << ": downloaded (" << outcome << ")\n";
}

void delete_one(const BlocksOptions& options) {
  const BlockName name = options.name();
  PlcConnection plc(options.connection);
  plc.connect();
  ask_before("delete " + name.text() + " of " + plc.plc_name(), options.yes);
  delete_block(plc, name);
  std::cout << name.text() << ": deleted\n";
}

void backup(const BlocksOptions& options) {
  PlcConnection plc(options.connection);
  const InterruptScope interrupt;
  plc.cancel_when([&] { return interrupt.interrupted(); });
  const std::vector<std::string> doubts =
      make_backup(plc, path_from_utf8(options.path), [&] { return interrupt.interrupted(); });
  if (doubts.empty()) {
    std::cout << options.path << ": a complete backup of " << plc.plc_name() << '\n';
    return;
  }
  for (std::size_t i = 1; i < doubts.size(); ++i) std::cerr << "plexum: " << doubts[i] << '\n';
  throw Failure(options.path + " lacks blocks, and is marked so: " + doubts.front());
}

void restore(const BlocksOptions& options) {
  const Backup backup = read_backup(path_from_utf8(options.path));
  PlcConnection plc(options.connection);
  plc.connect();
  const std::string kind = backup.doubts.empty() ? "" : ", which lacks blocks,";
  ask_before("download the " + std::to_string(backup.blocks.size()) + " blocks of " + options.path +
                 kind + " to " + plc.plc_name(),
             options.yes);
  const InterruptScope interrupt;
  plc.cancel_when([&] { return interrupt.interrupted(); });
  std::size_t done = 0;
  const std::string total = std::to_string(backup.blocks.size());
  try {
    Progress progress("restore", backup.blocks.size());
    for (const BlockImage& image : backup.blocks) {
      if (interrupt.interrupted()) throw Failure("restoring " + options.path + ": interrupted");
      progress.step(image.name.text());
      download_block(plc, image);
      ++done;
    }
  } catch (const Failure& failure) {
    throw Failure(std::string(failure.what()) + "; " + std::to_string(done) + " of " + total +
                  " blocks were restored before");
  }
  std::cout << total << " blocks restored (verified by uploading them again)"
            << (backup.doubts.empty() ? "" : "; the backup lacks blocks") << '\n';
}

using Action = void (*)(const BlocksOptions&);

CLI::App& add_action(CLI::App& parent, const std::shared_ptr<BlocksOptions>& options,
                     const char* name, const char* description, const char* footer, Action act) {
  CLI::App& command = *parent.add_subcommand(name, description);
  command.footer(footer);
  add_connection_options(command, options->connection);
  command.callback([options, act] { act(*options); });
  return command;
}

void add_block_name(CLI::App& command, BlocksOptions& options) {
  command.add_option("type", options.type, "OB, FB, FC, DB or SDB")->required();
  command.add_option("number", options.number, "Number of the block")->required();
}

void add_path(CLI::App& command, BlocksOptions& options, const char* name,
              const char* description) {
  command.add_option(name, options.path, description)->required()->type_name("PATH");
}

void add_single_blocks(CLI::App& parent, const std::shared_ptr<BlocksOptions>& options) {
  CLI::App& listing = add_action(parent, options, "list", "Lists the PLC's blocks",
                                 "Examples:\n"
                                 "  plexum blocks list --sim\n"
                                 "  plexum blocks list DB --ip 192.0.2.10 --json",
                                 list);
  listing.add_option("type", options->type, "OB, FB, FC, DB, SDB, SFC or SFB; all without it");
  listing.add_flag("--json", options->json, "As JSON");

  CLI::App& uploading = add_action(parent, options, "upload", "Saves a block in a file",
                                   "Examples:\n"
                                   "  plexum blocks upload DB 1 db1.mc7 --sim\n"
                                   "  plexum blocks upload OB 1 main.mc7 --ip 192.0.2.10",
                                   upload);
  add_block_name(uploading, *options);
  add_path(uploading, *options, "file", "File to write");

  CLI::App& downloading = add_action(
      parent, options, "download", "Loads a block from a file into the PLC",
      "Its type and number are the file's own. It replaces a block of that name, and is\n"
      "uploaded again to see that the PLC has it.\n\n"
      "Examples:\n"
      "  plexum blocks download main.mc7 --ip 192.0.2.10\n"
      "  plexum blocks download db1.mc7 --sim --yes",
      download);
  add_path(downloading, *options, "file", "File with the block's image");
  add_yes_option(downloading, options->yes);

  CLI::App& deleting = add_action(parent, options, "delete", "Deletes a block of the PLC",
                                  "Examples:\n"
                                  "  plexum blocks delete FC 2 --ip 192.0.2.10\n"
                                  "  plexum blocks delete FC 2 --sim --yes",
                                  delete_one);
  add_block_name(deleting, *options);
  add_yes_option(deleting, options->yes);
}

}  // namespace

void add_blocks_command(CLI::App& program) {
  const auto options = std::make_shared<BlocksOptions>();
  CLI::App& command =
      *program.add_subcommand("blocks", "Lists, saves, loads and deletes the PLC's blocks");
  command.require_subcommand(1);
  command.footer(
      "Examples:\n"
      "  plexum blocks list --sim\n"
      "  plexum blocks backup monday --ip 192.0.2.10\n"
      "  plexum blocks restore monday --ip 192.0.2.10");
  add_single_blocks(command, options);

  CLI::App& saving = add_action(
      command, options, "backup", "Saves every block of the program",
      "The folder appears when the backup is done. Its manifest.json says whether it is complete;\n"
      "a backup that lacks blocks ends with exit status 1 and tells which. SFCs and SFBs are the "
      "CPU's own.\n\n"
      "Examples:\n"
      "  plexum blocks backup monday --ip 192.0.2.10\n"
      "  plexum blocks backup monday --sim",
      backup);
  add_path(saving, *options, "folder", "Folder to make");

  CLI::App& loading = add_action(
      command, options, "restore", "Loads the blocks of a backup into the PLC",
      "Everything in the folder is checked before anything is sent. Blocks of the same names are\n"
      "replaced, others stay. Stop the CPU before: plexum stop\n\n"
      "Examples:\n"
      "  plexum blocks restore monday --ip 192.0.2.10\n"
      "  plexum blocks restore monday --sim --yes",
      restore);
  add_path(loading, *options, "folder", "Folder of a backup");
  add_yes_option(loading, options->yes);
}

}  // namespace plexum::cli
