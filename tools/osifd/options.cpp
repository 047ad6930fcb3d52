#include "tools/osifd/options.h"

#include <CLI/CLI.hpp>
#include <fstream>

#include "client/build_info.h"

namespace daemon_process {
namespace {

constexpr const char* kDescription =
    "Let phones and handhelds push objects to the stores of a device, and synchronise with them.";

constexpr const char* kFooter =
    "Each option may stand in the file of --config as well: name = value, a line each.\n"
    "Exit status: 0 ended as it was asked to, 1 something failed, 2 wrong usage.";

void AddSources(CLI::App& app, Options& options) {
  app.add_option("--device", options.device,
                 "The device's folder (else OSIF_DEVICE, else \"osif\" in the user's data folder)")
      ->type_name("DIR");
  app.add_option("--tcp", options.tcp, "Listen there; port 0 is any free one")
      ->type_name("ADDRESS:PORT");
  app.add_option("--serial", options.serial, "Serve a serial line")->type_name("FILE");
  app.add_flag("--pty", options.pty, "Make a terminal line, print its name and serve it");
  app.add_flag("--bluetooth", options.bluetooth, "Offer both services through BlueZ");
  app.add_option("--password-file", options.password_file,
                 "Ask peers for the password that the file holds (OBEX authentication)")
      ->type_name("FILE");
  app.add_flag("--open-to-others", options.is_open_to_others,
               "Allow TCP addresses that other machines reach; needs a password, and nothing is "
               "encrypted");
}

void AddInbox(CLI::App& app, Options& options) {
  app.add_option("--inbox", options.push.inbox, "Keep what is pushed as it came, too")
      ->type_name("DIR")
      ->check(CLI::ExistingDirectory);
  app.add_flag("--inbox-only", options.push.is_inbox_only, "Keep it there and store nothing")
      ->needs("--inbox");
}

void AddLimit(CLI::App& app, const char* name, auto& value, const char* text, uint64_t least,
              uint64_t most) {
  app.add_option(name, value, text)
      ->type_name("NUMBER")
      ->capture_default_str()
      ->check(CLI::Range(least, most))
      ->group("Limits");
}

void AddSeconds(CLI::App& app, const char* name, std::chrono::seconds& value, const char* text) {
  app.add_option_function<uint32_t>(
         name, [&value](uint32_t seconds) { value = std::chrono::seconds(seconds); }, text)
      ->type_name("SECONDS")
      ->default_str(std::to_string(value.count()))
      ->check(CLI::Range(1, 1'000'000))
      ->group("Limits");
}

void AddLimits(CLI::App& app, Options& options) {
  constexpr uint64_t kMany = 1'000'000;
  constexpr uint64_t kLargestBody = uint64_t{1} << 30;
  AddLimit(app, "--max-packet", options.packets.packet, "Bytes of a packet", obex::kLeastPacket,
           65'535);
  AddLimit(app, "--max-headers", options.packets.headers, "Bytes of a request's headers", 64,
           kMany);
  AddLimit(app, "--max-name", options.packets.name, "Characters of a name", 1, 32'000);
  AddLimit(app, "--max-body", options.packets.body, "Bytes of a body", 1, kLargestBody);
  AddLimit(app, "--max-objects", options.push.most_objects, "Objects of a pushed body", 1, kMany);
  AddLimit(app, "--max-connections", options.connections, "Connections at once", 1, kMany);
  AddLimit(app, "--max-peer-connections", options.connections_of_peer,
           "Connections at once of one address", 1, kMany);
  AddLimit(app, "--max-rate", options.connections_a_second, "New connections a second", 1, kMany);
  AddSeconds(app, "--idle-time", options.times.idle, "Without a packet");
  AddSeconds(app, "--packet-time", options.times.packet, "For a packet that has begun");
  AddSeconds(app, "--session-time", options.times.session, "For a connection");
}

}  // namespace

std::optional<std::string> ReadPassword(const std::string& file) {
  std::ifstream stream(file);
  std::string password;
  const bool is_there = std::getline(stream, password) && !password.empty();
  return is_there ? std::optional(std::move(password)) : std::nullopt;
}

std::optional<int> ReadOptions(int argc, char** argv, Options& options) {
  CLI::App app(kDescription, "osifd");
  app.footer(kFooter);
  app.set_version_flag("--version", client::VersionText("osifd"));
  // A misspelt limit would be none.
  app.allow_config_extras(CLI::config_extras_mode::error);
  app.set_config("--config", "", "Read options from a file")->type_name("FILE");
  AddSources(app, options);
  AddInbox(app, options);
  AddLimits(app, options);
  app.add_flag("--json", options.json, "Log one JSON object a line");
  app.add_flag("--check", options.checks, "Tell what works on this machine, and end");
  app.add_option("--serve", options.served)->group("");
  app.add_option("--peer", options.peer)->group("");
  constexpr int kWrongUsage = 2;
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kWrongUsage;
  }
  return std::nullopt;
}

}  // namespace daemon_process
